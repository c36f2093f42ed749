// Lines of the platform's log without their times.
#pragma once

#include <algorithm>
#include <regex>
#include <string>

inline constexpr char LOG_TIME[] = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )";

inline std::string without_times(const std::string& log) {
    std::string text;
    const std::regex time(LOG_TIME);
    for (size_t at = 0; at < log.size();) {
        const size_t end = std::min(log.find('\n', at), log.size() - 1) + 1;
        const auto line = log.begin() + static_cast<std::ptrdiff_t>(at);
        const auto line_end = log.begin() + static_cast<std::ptrdiff_t>(end);
        std::smatch found;
        const bool timed =
            std::regex_search(line, line_end, found, time, std::regex_constants::match_continuous);
        text.append(timed ? found.suffix().first : line, line_end);
        at = end;
    }
    return text;
}
