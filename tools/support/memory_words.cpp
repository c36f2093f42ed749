#include "memory_words.h"

#include <algorithm>
#include <regex>

namespace {

constexpr unsigned TEXT_LENGTH = 4;
constexpr unsigned FIRST_PRINTABLE = 0x20;
constexpr unsigned LAST_PRINTABLE = 0x7e;

// Both byte orders have neighbours beside each other.
bool has_text(const std::string& word) {
    unsigned in_a_row = 0;
    for (size_t at = 0; at + 1 < word.size(); at += 2) {
        const unsigned long byte = std::stoul(word.substr(at, 2), nullptr, 16);
        in_a_row = byte >= FIRST_PRINTABLE && byte <= LAST_PRINTABLE ? in_a_row + 1 : 0;
        if (in_a_row == TEXT_LENGTH)
            return true;
    }
    return false;
}

void blank_words_of(std::string& line) {
    static const std::regex WORD(" ([0-9a-f]{16}|[0-9a-f]{8})(?![0-9a-f])");
    const std::string words = line;
    for (std::sregex_iterator word(words.begin(), words.end(), WORD), end; word != end; ++word)
        if (has_text((*word)[1]))
            line.replace(static_cast<size_t>(word->position(1)), static_cast<size_t>(word->length(1)),
                         static_cast<size_t>(word->length(1)), '*');
}

} // namespace

std::string blank_memory_words(std::string_view report) {
    static const std::regex MEMORY("0x[0-9a-f]{1,16}:( [0-9a-f]{8,16}){1,16}\\s*");
    constexpr size_t LONGEST = 320; // no line of memory is longer
    std::string made;
    for (size_t at = 0; at < report.size();) {
        const size_t end = std::min(report.find('\n', at), report.size() - 1) + 1;
        std::string line(report.substr(at, end - at));
        if (line.size() <= LONGEST && std::regex_match(line, MEMORY))
            blank_words_of(line);
        made += line;
        at = end;
    }
    return made;
}
