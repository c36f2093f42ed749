#include "wait_line.h"

#include <algorithm>

namespace {

constexpr size_t WIDTH = 64; // leaves room for the time on a line of 80

bool is_shown(char c) {
    return static_cast<unsigned char>(c) >= ' ' && c != '\x7f';
}

/// The last line that has something on it.
std::string_view last_line(std::string_view text) {
    const size_t end = text.find_last_not_of(" \r\n");
    if (end == text.npos)
        return {};
    text = text.substr(0, end + 1);
    const size_t before = text.find_last_of("\r\n");
    return before == text.npos ? text : text.substr(before + 1);
}

} // namespace

std::string wait_line(std::string_view so_far, unsigned seconds) {
    std::string line(last_line(so_far).substr(0, WIDTH));
    line.erase(std::remove_if(line.begin(), line.end(), [](char c) { return !is_shown(c); }), line.end());
    return line.empty() ? "" : line + " " + std::to_string(seconds) + " s";
}
