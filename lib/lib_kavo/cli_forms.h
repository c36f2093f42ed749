// Commands written from values, as a saved configuration has them: word for word as their syntax says, blanks
// too. What a value may be (ranges, choices) is taken from the syntax, so that nothing is written that the
// command wouldn't take. Syntaxes are taken apart once, when an object is made; writing a line allocates the
// line's text only. Event loop's thread.
#pragma once

#include <concepts>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kavo_cmd.h"

// Whether a text can be typed as one word: not empty, no blanks, nothing that isn't printable, no '|' at its
// end, since behind "| " an output filter is expected. Managers can put any text into a table; a line with
// such a text would be read as something else, or as more than one line, when the configuration is replayed.
bool cli_is_word(std::string_view text);

// A value for one argument: none, a number, or a text, which the value only points at.
class CliValue {
public:
    constexpr CliValue() = default;
    constexpr CliValue(std::integral auto number) : kind_(NUMBER), number_(static_cast<int64_t>(number)) {}
    // None for an empty text.
    constexpr CliValue(std::string_view text) : kind_(text.empty() ? NONE : TEXT), text_(text) {}
    constexpr CliValue(const char* text) : CliValue(std::string_view(text)) {}
    constexpr CliValue(const std::string& text) : CliValue(std::string_view(text)) {}
    // For a keyword without an argument: whether the line has it.
    static constexpr CliValue given(bool yes) {
        CliValue value;
        value.kind_ = yes ? GIVEN : NONE;
        return value;
    }
    // One that no argument can hold, so that there is no line.
    static constexpr CliValue untypable() { return CliValue(" "); }

    constexpr bool is_none() const { return kind_ == NONE; }
    constexpr bool is_given() const { return kind_ == GIVEN; }
    constexpr bool is_number() const { return kind_ == NUMBER; }
    constexpr int64_t number() const { return number_; }
    constexpr std::string_view text() const { return text_; }

private:
    enum Kind : uint8_t { NONE, GIVEN, NUMBER, TEXT };
    Kind kind_ = NONE;
    int64_t number_ = 0;
    std::string_view text_;
};

// One syntax, ready to be written.
class CliSyntax {
public:
    explicit CliSyntax(std::string syntax);
    // The same with some choices settled: by each word's place the keyword that is chosen, null for none.
    CliSyntax(std::string syntax, const std::vector<const char*>& chosen);

    std::span<const kavo_cmd_word_t> words() const { return words_; }

    // What an argument can be.
    struct Range {
        int64_t least;
        int64_t most;
    };
    struct Argument {
        size_t place; // of its word
        std::vector<Range> ranges;
        std::vector<std::string> keywords;
        bool is_variable; // any word will do

        // Whether the operator could type it.
        bool can_hold(const CliValue& value) const;
        bool has_keyword(std::string_view word) const;
    };
    // Those of the line from the left.
    std::span<const Argument> arguments() const { return arguments_; }

    // The command with a value for each argument; empty when one of them can't be typed.
    std::string line(std::span<const CliValue> values) const;
    bool can_hold(std::span<const CliValue> values) const;
    // The same for values that it can hold.
    std::string typed(std::span<const CliValue> values) const;

private:
    std::string syntax_;
    std::vector<kavo_cmd_word_t> words_;
    std::vector<Argument> arguments_;
    std::vector<std::string> literals_; // in front of each argument, and behind the last
};

// The forms of a command: the syntaxes whose arguments all have one of some names (cli_words.h), the first of
// them included. A choice that no name stands for is settled: each of its keywords makes a form of its own.
//
//     const CliForms gem_ports(syntaxes, {"gemport", "tcont", "name", "queue"});
//     gem_ports.line({5, 1, "data", {}})      // "gemport 5 tcont 1 name data"
//
// A name may be that of a keyword without an argument (CliValue::given); a text is then the keyword behind
// it, so that "mode 802.11a" is a form beside "mode (802.11b|802.11g)". There can be 32 names.
class CliForms {
public:
    CliForms(std::span<const char* const> syntaxes, std::span<const char* const> names);
    CliForms(std::span<const char* const> syntaxes, std::initializer_list<const char*> names)
        : CliForms(syntaxes, std::span(names.begin(), names.size())) {}

    // The command that says just these values, in the order of the names; empty when no form has just those,
    // or none can hold them.
    std::string line(std::span<const CliValue> values) const;
    std::string line(std::initializer_list<CliValue> values) const {
        return line(std::span(values.begin(), values.size()));
    }
    // Whether there is one.
    bool can_hold(std::span<const CliValue> values) const;
    bool can_hold(std::initializer_list<CliValue> values) const {
        return can_hold(std::span(values.begin(), values.size()));
    }

    // Of how many forms it knows.
    size_t size() const { return forms_.size(); }

private:
    struct Form {
        CliSyntax syntax;
        uint32_t names;             // that it has, a bit each
        std::vector<size_t> values; // which one stands for each argument
        // Those of names without an argument, with the keyword behind each.
        std::vector<std::pair<size_t, std::string>> fixed;

        bool has_keywords(std::span<const CliValue> values) const;
    };
    void add(const char* syntax, std::span<const char* const> names);
    void add_settled(const CliSyntax& syntax, std::span<const char* const> names);
    template <typename Use>
    bool find(std::span<const CliValue> values, Use use) const;

    std::vector<Form> forms_;
};
