// The grammar of command syntaxes, taken apart and translated into the library's.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include "kavo_cmd.h"

namespace {

using Words = std::vector<kavo_cmd_word_t>;

bool is_capital(char c) {
    return c >= 'A' && c <= 'Z';
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_alnum(char c) {
    return is_capital(c) || is_digit(c) || (c >= 'a' && c <= 'z');
}

/// Does word hold only characters for which ok() is true?
template <typename Test>
bool all(std::string_view word, Test ok) {
    return std::all_of(word.begin(), word.end(), ok);
}

/// "ETHUNI", "MMMM-MMMM": what the library takes for a variable word, given that it starts one.
bool is_variable(std::string_view word) {
    const auto ok = [](char c) { return is_capital(c) || is_digit(c) || strchr("-_:", c); };
    return word == "A.B.C.D" || (word.size() >= 2 && is_capital(word[0]) && all(word, ok));
}

/// "max_distance", "802.11b/g": a dot or slash only before a letter or digit.
bool is_keyword(std::string_view word) {
    if (word.empty() || !is_alnum(word[0]))
        return false;
    for (size_t i = 1; i < word.size(); i++) {
        const bool inner = (word[i] == '.' || word[i] == '/') && i + 1 < word.size() && is_alnum(word[i + 1]);
        if (!is_alnum(word[i]) && word[i] != '-' && word[i] != '_' && word[i] != '+' && !inner)
            return false;
    }
    return true;
}

/// "<1-128>" to "(1-128)".
std::optional<std::string> translate_range(std::string_view word) {
    if (word.size() < 5 || word.front() != '<' || word.back() != '>')
        return std::nullopt;
    const auto inside = word.substr(1, word.size() - 2);
    const auto dash = inside.find('-', 1);
    if (dash == inside.npos)
        return std::nullopt;

    const auto low = inside.substr(0, dash), high = inside.substr(dash + 1);
    const auto number = [](std::string_view n) { return !n.empty() && n.size() <= 18 && all(n, is_digit); };
    if (!number(low) || !number(high) || std::stoll(std::string(low)) > std::stoll(std::string(high)))
        return std::nullopt;
    return "(" + std::string(inside) + ")";
}

/// One alternative of a choice, or a word that stands alone.
std::optional<std::string> translate_single(std::string_view word) {
    if (is_variable(word) || is_keyword(word))
        return std::string(word);
    return translate_range(word);
}

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// What stands between the parentheses of a choice.
std::optional<kavo_cmd_word_t> parse_choice(std::string_view inside) {
    kavo_cmd_word_t word{kavo_cmd_word_t::CHOICE, false, {}};
    for (size_t start = 0; start <= inside.size();) {
        const auto end = std::min(inside.find('|', start), inside.size());
        const auto piece = trim(inside.substr(start, end - start));
        const bool last = end == inside.size();
        if (piece.empty() && last && !word.alternatives.empty()) {
            word.optional = true;
            break;
        }
        auto alternative = translate_single(piece);
        if (!alternative)
            return std::nullopt;
        word.alternatives.push_back(std::move(*alternative));
        start = end + 1;
    }
    return word;
}

std::optional<kavo_cmd_word_t> parse_word(std::string_view text) {
    if (text.front() == '(')
        return text.back() == ')' ? parse_choice(text.substr(1, text.size() - 2)) : std::nullopt;

    const bool tail = text.front() == '.';
    if (tail)
        text.remove_prefix(1);
    auto single = translate_single(text);
    const bool variable = single && (is_variable(*single) || single->front() == '(');
    if (!single || (tail && !variable))
        return std::nullopt;

    const auto kind = tail       ? kavo_cmd_word_t::TAIL
                      : variable ? kavo_cmd_word_t::VARIABLE
                                 : kavo_cmd_word_t::KEYWORD;
    return kavo_cmd_word_t{kind, false, {std::move(*single)}};
}

/// Cut the next word off the front of rest; a choice is one word, blanks and all.
std::string_view next_word(std::string_view& rest) {
    rest = trim(rest);
    size_t end = std::min(rest.find_first_of(" \t"), rest.size());
    if (!rest.empty() && rest.front() == '(')
        end = std::min(rest.find(')'), rest.size() - 1) + 1;
    const auto word = rest.substr(0, end);
    rest.remove_prefix(end);
    return word;
}

} // namespace

std::vector<kavo_cmd_word_t> kavo_cmd_parse(const std::string& syntax) {
    Words words;
    std::string_view rest = syntax;
    for (auto text = next_word(rest); !text.empty(); text = next_word(rest)) {
        auto word = parse_word(text);
        const bool behind_tail = !words.empty() && words.back().kind == kavo_cmd_word_t::TAIL;
        if (!word || behind_tail)
            return {};
        word->begin = static_cast<size_t>(text.data() - syntax.data());
        word->end = word->begin + text.size();
        words.push_back(std::move(*word));
    }
    return words;
}

std::string kavo_cmd_translate(const std::vector<kavo_cmd_word_t>& words) {
    std::string syntax;
    for (const auto& word : words) {
        std::string alternatives;
        for (const auto& alternative : word.alternatives)
            alternatives += (alternatives.empty() ? "" : "|") + alternative;

        if (!syntax.empty())
            syntax += ' ';
        if (word.optional)
            syntax += "[" + alternatives + "]";
        else if (word.alternatives.size() > 1)
            syntax += "<" + alternatives + ">";
        else
            syntax += alternatives;
        if (word.kind == kavo_cmd_word_t::TAIL)
            syntax += "...";
    }
    return syntax;
}

kavo_cmd_alternative_t kavo_cmd_alternative(std::string_view alternative) {
    if (alternative.front() != '(')
        return {is_variable(alternative) ? kavo_cmd_alternative_t::VARIABLE
                                         : kavo_cmd_alternative_t::KEYWORD};
    const auto dash = alternative.find('-');
    kavo_cmd_alternative_t range = {kavo_cmd_alternative_t::RANGE};
    std::from_chars(alternative.data() + 1, alternative.data() + dash, range.least);
    std::from_chars(alternative.data() + dash + 1, alternative.data() + alternative.size() - 1, range.most);
    return range;
}
