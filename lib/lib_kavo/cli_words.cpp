#include "cli_words.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

int wrong_names = 0;

constexpr size_t NONE = static_cast<size_t>(-1);

// The last word of a name, which is cut off.
std::string_view last_part(std::string_view& name) {
    const size_t blank = name.rfind(' ');
    const std::string_view part = blank == name.npos ? name : name.substr(blank + 1);
    name = blank == name.npos ? std::string_view() : name.substr(0, blank);
    return part;
}

bool has_alternative(const kavo_cmd_word_t& word, std::string_view text) {
    return std::find(word.alternatives.begin(), word.alternatives.end(), text) != word.alternatives.end();
}

bool is_own_name(std::string_view part) {
    return !part.empty() && kavo_cmd_alternative(part).kind == kavo_cmd_alternative_t::VARIABLE;
}

// A syntax as a line with all that may be typed.
struct SyntaxLine {
    std::span<const kavo_cmd_word_t> words;

    size_t size() const { return words.size(); }
    bool is_argument(size_t i) const { return words[i].kind != kavo_cmd_word_t::KEYWORD; }
    bool has_keyword(size_t i) const {
        return std::any_of(words[i].alternatives.begin(), words[i].alternatives.end(), [](const auto& a) {
            return kavo_cmd_alternative(a).kind == kavo_cmd_alternative_t::KEYWORD;
        });
    }
    bool is_keyword(size_t i, std::string_view part) const {
        return !is_own_name(part) && has_alternative(words[i], part);
    }
    const kavo_cmd_word_t& syntax(size_t i) const { return words[i]; }
};

struct TypedLine {
    std::span<const CliWords::Word> words;

    size_t size() const { return words.size(); }
    bool is_argument(size_t i) const { return words[i].argument != nullptr; }
    bool has_keyword(size_t i) const { return words[i].keyword != nullptr; }
    bool is_keyword(size_t i, std::string_view part) const {
        return words[i].keyword != nullptr && part == words[i].keyword;
    }
    const kavo_cmd_word_t& syntax(size_t i) const { return *words[i].syntax; }
};

// Whether the keywords in front of a word are those of the rest of a name.
template <typename Line>
bool stands_behind(const Line& line, size_t word, std::string_view keywords) {
    while (!keywords.empty()) {
        const std::string_view part = last_part(keywords);
        do {
            if (word-- == 0)
                return false;
        } while (!line.has_keyword(word));
        if (!line.is_keyword(word, part))
            return false;
    }
    return true;
}

// Calls `visit` with each word that a name itself stands for: the keyword, or the argument named in capitals.
template <typename Line, typename Visit>
void each_match(const Line& line, std::string_view name, Visit visit) {
    const std::string_view part = last_part(name);
    const bool own = is_own_name(part);
    for (size_t i = 0; i < line.size(); i++) {
        const bool matches =
            own ? line.is_argument(i) && has_alternative(line.syntax(i), part) : line.is_keyword(i, part);
        if (matches && stands_behind(line, i, name))
            visit(i, own ? i : i + 1);
    }
}

// The argument of a name: NONE without one, and for one that stands for two.
template <typename Line>
size_t argument_of(const Line& line, std::string_view name) {
    size_t found = NONE;
    int matches = 0;
    each_match(line, name, [&](size_t /*match*/, size_t argument) {
        const bool again = found != NONE && &line.syntax(argument) == &line.syntax(found);
        if (argument >= line.size() || !line.is_argument(argument) || again) // a tail has many words
            return;
        found = argument;
        matches++;
    });
    return matches == 1 ? found : NONE;
}

template <typename Line>
bool has_match(const Line& line, std::string_view name) {
    bool found = false;
    each_match(line, name, [&](size_t /*match*/, size_t /*argument*/) { found = true; });
    return found;
}

void tell_wrong_name(const kavo_cmd_t& command, std::string_view name) {
    wrong_names++;
    zlog_err("command \"%s\" has nothing, or too much, that is called \"%.*s\"", command.syntax,
             static_cast<int>(name.size()), name.data());
}

} // namespace

CliWords::CliWords(const kavo_cmd_t& command, std::vector<Word> line)
    : command_(command), line_(std::move(line)) {
    arguments_.reserve(line_.size());
    for (const Word& word : line_)
        arguments_.push_back(word.argument);
}

int64_t CliWords::to_number(const char* word) {
    return strtoll(word, nullptr, 10);
}

size_t CliWords::position_of(std::string_view name) const {
    return argument_of(TypedLine{line_}, name);
}

bool CliWords::has(std::string_view name) const {
    const bool found = has_match(TypedLine{line_}, name);
    if (!found && !kavo_cmd_has_name(command_.handler, name))
        tell_wrong_name(command_, name);
    return found;
}

const char* CliWords::text(std::string_view name, size_t nth) const {
    const auto arguments = all(name);
    if (nth < arguments.size())
        return arguments[nth];
    tell_wrong_name(command_, name);
    return "";
}

const char* CliWords::text_or(std::string_view name, const char* otherwise) const {
    const auto arguments = all(name);
    if (!arguments.empty())
        return arguments.front();
    if (!kavo_cmd_has_name(command_.handler, name))
        tell_wrong_name(command_, name);
    return otherwise;
}

// The word directly behind a keyword, or the argument that has the name; null for none.
const CliWords::Word* CliWords::word_behind(std::string_view name) const {
    const Word* found = nullptr;
    const size_t argument = position_of(name);
    if (argument != NONE)
        return &line_[argument];
    each_match(TypedLine{line_}, name, [&](size_t /*match*/, size_t behind) {
        if (found == nullptr && behind < line_.size())
            found = &line_[behind];
    });
    if (found == nullptr && !kavo_cmd_has_name(command_.handler, name))
        tell_wrong_name(command_, name);
    return found;
}

const char* CliWords::word_or(std::string_view name, const char* otherwise) const {
    const Word* const word = word_behind(name);
    if (word == nullptr)
        return otherwise;
    return word->argument != nullptr ? word->argument : word->keyword;
}

const char* CliWords::typed_or(std::string_view name, const char* otherwise) const {
    const Word* const word = word_behind(name);
    return word != nullptr ? word->typed : otherwise;
}

bool CliWords::is_enable(std::string_view name) const {
    return strcmp(text(name), "enable") == 0;
}

std::span<const char* const> CliWords::all(std::string_view name) const {
    const size_t first = position_of(name);
    if (first == NONE)
        return {};
    const auto begin = arguments_.begin() + static_cast<ptrdiff_t>(first);
    return {begin, std::find(begin, arguments_.end(), nullptr)};
}

std::vector<const char*> CliWords::arguments() const {
    std::vector<const char*> arguments;
    std::copy_if(arguments_.begin(), arguments_.end(), std::back_inserter(arguments),
                 [](const char* argument) { return argument != nullptr; });
    return arguments;
}

namespace {

// Behind these words of a line stands a password or a key.
constexpr std::string_view SECRET_KEYWORDS[] = {"pw", "password", "share-key"};
// And in the place of these words of a syntax.
constexpr std::string_view SECRET_NAMES[] = {"PASSWORD", "SHAREKEY", "KEYVALUE"};

bool is_secret_name(const CliWords::Word& word) {
    return word.keyword == nullptr &&
           std::any_of(std::begin(SECRET_NAMES), std::end(SECRET_NAMES),
                       [&](auto name) { return has_alternative(*word.syntax, name); });
}

bool is_secret_keyword(std::string_view text) {
    return std::find(std::begin(SECRET_KEYWORDS), std::end(SECRET_KEYWORDS), text) !=
           std::end(SECRET_KEYWORDS);
}

// In a tail, which takes any words, that may be a mistyped command with shortened keywords.
bool may_be_secret_keyword(std::string_view text) {
    return text.size() >= 2 && std::any_of(std::begin(SECRET_KEYWORDS), std::end(SECRET_KEYWORDS),
                                           [&](auto keyword) { return keyword.starts_with(text); });
}

} // namespace

std::string CliWords::told() const {
    std::string text;
    bool is_behind = false;      // the word in front announces a secret
    bool rest_is_secret = false; // the word in hand and all behind it
    for (const Word& word : line_) {
        const bool is_secret =
            rest_is_secret || is_secret_name(word) || (is_behind && word.keyword == nullptr);
        const char* shown = word.keyword != nullptr ? word.keyword : word.typed;
        text += (text.empty() ? "" : " ") + std::string(is_secret ? "***" : shown);
        is_behind = word.keyword != nullptr && is_secret_keyword(word.keyword);
        rest_is_secret =
            rest_is_secret || (word.syntax->kind == kavo_cmd_word_t::TAIL && may_be_secret_keyword(shown));
    }
    return text;
}

size_t cli_place_of(std::span<const kavo_cmd_word_t> syntax, std::string_view name) {
    const size_t place = argument_of(SyntaxLine{syntax}, name);
    return place != NONE ? place : syntax.size();
}

std::string_view cli_keyword_behind(std::span<const kavo_cmd_word_t> syntax, std::string_view name) {
    std::string_view found;
    each_match(SyntaxLine{syntax}, name, [&](size_t /*match*/, size_t behind) {
        if (behind < syntax.size() && syntax[behind].kind == kavo_cmd_word_t::KEYWORD)
            found = syntax[behind].alternatives.front();
    });
    return found;
}

bool cli_has_name(std::span<const kavo_cmd_word_t> syntax, std::string_view name) {
    return has_match(SyntaxLine{syntax}, name);
}

int cli_wrong_names() {
    return wrong_names;
}
