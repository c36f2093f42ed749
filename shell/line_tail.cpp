#include "line_tail.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <utility>

#include "shell_mode.h"

namespace {

using Words = std::vector<std::string>;

constexpr unsigned MAX_SECONDS = 86400;
constexpr unsigned MAX_TIMES = 1000000;

struct FilterWord {
    const char* word;
    LineFilter::Kind kind;
    bool takes_text;
    const char* help;
};

constexpr std::array<FilterWord, 4> FILTER_WORDS = {{
    {"include", LineFilter::INCLUDE, true, "Only lines with a text"},
    {"exclude", LineFilter::EXCLUDE, true, "Only lines without a text"},
    {"count", LineFilter::COUNT, false, "How many lines"},
    {"json", LineFilter::JSON, false, "The table as JSON, an object for each row"},
}};

constexpr char BAD_FILTER[] = "% Behind \"|\" stands include TEXT, exclude TEXT, count or json.\n";
constexpr char LATE_JSON[] = "% \"| json\" stands directly behind the command, and alone.\n";
constexpr char BAD_REPEAT[] = "% repeat takes seconds (1 to 86400), and how often (1 to 1000000).\n";

/// Where the first "|" stands as a word of its own.
size_t find_bar(const std::string& line, size_t from = 0) {
    const auto blank = [&](size_t at) {
        return at >= line.size() || isspace(static_cast<unsigned char>(line[at]));
    };
    for (size_t at = line.find('|', from); at != line.npos; at = line.find('|', at + 1)) {
        if (at > 0 && blank(at - 1) && blank(at + 1))
            return at;
    }
    return line.npos;
}

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    return first == text.npos ? ""
                              : std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

std::optional<LineFilter> read_filter(const std::string& text) {
    const auto end = std::min(text.find_first_of(" \t"), text.size());
    const auto word = text.substr(0, end);
    const auto rest = trimmed(std::string_view(text).substr(end));
    if (word.empty())
        return std::nullopt;
    for (const auto& known : FILTER_WORDS) {
        if (std::string_view(known.word).starts_with(word) && known.takes_text == !rest.empty())
            return LineFilter{known.kind, rest};
    }
    return std::nullopt;
}

std::optional<unsigned> read_number(const std::string& word, unsigned highest) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size() || number == 0 || number > highest)
        return std::nullopt;
    return number;
}

/// Takes "repeat N [M]" off the end of a command; false if it is there and makes no sense.
bool take_repeat(LineTail& tail) {
    auto words = shell_words(tail.command);
    const auto found = std::find(words.rbegin(), words.rend(), "repeat");
    if (found == words.rend())
        return true;
    const auto numbers = static_cast<size_t>(found - words.rbegin());
    const auto at = words.size() - numbers;
    if (numbers == 0 || numbers > 2 || at < 2)
        return numbers > 2; // "repeat" further in front is a word of the command
    const auto seconds = read_number(words[at], MAX_SECONDS);
    const auto times = numbers == 2 ? read_number(words[at + 1], MAX_TIMES) : 0;
    if (!seconds || !times)
        return false;
    tail.seconds = *seconds;
    tail.times = *times;
    tail.command = trimmed(tail.command.substr(0, tail.command.rfind("repeat")));
    return true;
}

bool same_letter(char a, char b) {
    return tolower(static_cast<unsigned char>(a)) == tolower(static_cast<unsigned char>(b));
}

bool holds(std::string_view line, const std::string& text) {
    return std::search(line.begin(), line.end(), text.begin(), text.end(), same_letter) != line.end();
}

/// Calls take for each line, with its end.
template <typename Take>
void each_line(std::string_view text, Take take) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        const auto size = end == text.npos ? text.size() : end + 1;
        take(text.substr(0, size));
        text.remove_prefix(size);
    }
}

bool is_blank(std::string_view line) {
    return line.find_first_not_of(" \t\r\n") == line.npos;
}

std::string filtered_by(std::string_view text, const LineFilter& filter) {
    std::string result;
    size_t count = 0;
    each_line(text, [&](std::string_view line) {
        count += is_blank(line) ? 0 : 1;
        if (filter.kind != LineFilter::COUNT &&
            holds(line, filter.text) == (filter.kind == LineFilter::INCLUDE))
            result += line;
    });
    return filter.kind == LineFilter::COUNT ? std::to_string(count) + "\n" : result;
}

} // namespace

bool takes_tail(const std::string& line) {
    const auto words = shell_words(line);
    if (words.empty())
        return false;
    const auto& first = words[0] == "do" && words.size() > 1 ? words[1] : words[0];
    // as short as the daemon takes them
    return (first.size() >= 2 && std::string_view("show").starts_with(first)) ||
           std::string_view("write").starts_with(first) || first == "list" || first == "find";
}

bool LineTail::json() const {
    return !filters.empty() && filters.front().kind == LineFilter::JSON;
}

std::variant<LineTail, std::string> take_tail(const std::string& line, bool is_command) {
    LineTail tail{line, {}, 0, 0};
    if (!takes_tail(line))
        return tail;
    if (size_t at = find_bar(line); at != line.npos) {
        tail.command = trimmed(std::string_view(line).substr(0, at));
        while (at != line.npos) {
            const auto next = find_bar(line, at + 1);
            const auto filter = read_filter(trimmed(std::string_view(line).substr(at + 1, next - at - 1)));
            if (!filter)
                return BAD_FILTER;
            tail.filters.push_back(*filter);
            at = next;
        }
        const auto json = std::count_if(tail.filters.begin(), tail.filters.end(),
                                        [](const auto& f) { return f.kind == LineFilter::JSON; });
        if (json != 0 && tail.filters.size() != 1)
            return LATE_JSON;
    }
    if (!is_command && !take_repeat(tail))
        return BAD_REPEAT;
    return tail;
}

std::string filtered(std::string_view text, const std::vector<LineFilter>& filters) {
    std::string result(text);
    for (const auto& filter : filters) {
        if (filter.kind != LineFilter::JSON)
            result = filtered_by(result, filter);
    }
    return result;
}

std::optional<std::vector<std::pair<std::string, std::string>>> tail_help(const std::string& text) {
    if (!takes_tail(text))
        return std::nullopt;
    size_t bar = find_bar(text + " ");
    if (bar == text.npos)
        return std::nullopt;
    for (auto next = bar; next != text.npos; next = find_bar(text + " ", next + 1))
        bar = next;
    const auto typed = std::string_view(text).substr(bar + 1);
    const auto first = typed.find_first_not_of(" \t");
    const auto word = first == typed.npos ? "" : typed.substr(first);
    std::vector<std::pair<std::string, std::string>> fitting;
    for (const auto& known : FILTER_WORDS) {
        if (std::string_view(known.word).starts_with(word))
            fitting.emplace_back(known.word, known.help);
    }
    return fitting;
}
