#include "shown_answer.h"

#include <array>
#include <ctime>
#include <optional>
#include <sstream>

namespace {

/// Counting needs rows, not headings: they are asked for as JSON, and what has none is counted by lines.
bool wants_rows(const LineTail& tail) {
    const bool counts = tail.filters.size() == 1 && tail.filters[0].kind == LineFilter::COUNT;
    return tail.json() || (counts && tail.command.find("sh") != tail.command.npos);
}

/// An array of the objects that stand a line each; nothing if there is anything else.
std::optional<std::string> json_array(const std::string& text) {
    std::istringstream lines(text);
    std::string array = "[";
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('{'))
            return std::nullopt;
        array += (array.size() > 1 ? ",\n " : "\n ") + line;
    }
    return array + "\n]\n";
}

} // namespace

std::string line_for_daemon(const LineTail& tail) {
    if (!wants_rows(tail))
        return tail.command;
    const auto words = tail.command.find_first_not_of(" \t");
    const bool done_above = tail.command.compare(words, 3, "do ") == 0;
    return done_above ? "do json " + tail.command.substr(words + 3) : "json " + tail.command;
}

VtyReply shown_answer(const LineTail& tail, const VtyReply& reply) {
    if (reply.result != 0)
        return reply;
    if (!tail.json())
        return {filtered(reply.text, tail.filters), 0};
    if (auto array = json_array(reply.text))
        return {*array, 0};
    return {"% \"" + tail.command + "\" shows no table that could be JSON.\n", 1};
}

std::string repeat_heading(const LineTail& tail) {
    const time_t now = time(nullptr);
    struct tm local {};
    localtime_r(&now, &local);
    std::array<char, 16> clock{};
    strftime(clock.data(), clock.size(), "%H:%M:%S", &local);
    return std::string(clock.data()) + "  " + tail.command + ", every " + std::to_string(tail.seconds) +
           " s; Ctrl-C ends\n";
}
