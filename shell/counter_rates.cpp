#include "counter_rates.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <sstream>
#include <string_view>
#include <utility>

#include "shell_mode.h"

namespace {

constexpr int WIDTH = 17;

std::string column(const char* text) {
    std::array<char, 64> cell{};
    snprintf(cell.data(), cell.size(), " %*s", WIDTH - 1, text);
    return cell.data();
}

bool is_heading(std::string_view line) {
    return line.find(" counter ") != line.npos && line.ends_with(" value");
}

/// Does each show have what came since the one before? Its last word, perhaps short, is then "enable".
bool clears_counters(const std::string& command) {
    const auto words = shell_words(command);
    return !words.empty() && std::string_view("enable").starts_with(words.back());
}

/// A line's number at its end.
std::optional<uint64_t> value_at(std::string_view line, size_t place) {
    uint64_t value = 0;
    const char* const end = line.data() + line.size();
    const auto read = std::from_chars(line.data() + place, end, value);
    return read.ec == std::errc() && read.ptr == end ? std::optional(value) : std::nullopt;
}

/// What came since a value was shown. A counter that is less than before has begun at 0 again.
uint64_t gained(uint64_t before, uint64_t value, bool clears) {
    return clears || value < before ? value : value - before;
}

} // namespace

std::string CounterRates::row(const std::string& line, bool clears, double seconds) {
    const size_t place = line.rfind(' ') + 1;
    const auto value = value_at(line, place);
    if (!value)
        return line;
    const auto name = line.substr(0, line.find_last_not_of(' ', place - 1) + 1);
    now_[name] = *value;
    const auto before = before_.find(name);
    if (before == before_.end() || seconds <= 0)
        return line + column("-");
    std::array<char, 64> rate{};
    snprintf(rate.data(), rate.size(), "%.1f",
             static_cast<double>(gained(before->second, *value, clears)) / seconds);
    return line + column(rate.data());
}

VtyReply CounterRates::rated(const LineTail& tail, VtyReply reply, Clock::time_point now) {
    if (tail.seconds == 0 || reply.result != 0)
        return reply;
    const double seconds = last_ ? std::chrono::duration<double>(now - *last_).count() : 0;
    const bool clears = clears_counters(tail.command);
    std::string text;
    bool is_in_table = false;
    std::istringstream lines(reply.text);
    for (std::string line; std::getline(lines, line);) {
        if (is_heading(line)) {
            is_in_table = true;
            line += column("per second");
        } else if (is_in_table && line.starts_with("---"))
            line += std::string(WIDTH, '-');
        else if (is_in_table)
            line = row(line, clears, seconds);
        text += line + "\n";
    }
    if (!is_in_table)
        return reply;
    last_ = now;
    before_ = std::exchange(now_, {});
    return {text, 0};
}
