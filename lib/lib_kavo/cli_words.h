// The arguments of a command, by name.
//
// A line consists of keywords and arguments; a choice of keywords is both: "enable" of
// "fec downstream (enable|disable)" is an argument, and a keyword like any other for what stands behind it.
// There are two ways to name an argument:
//
//   "tcont"      in small letters: the keyword directly in front of it, in full. What stands directly behind
//   a
//                keyword is what it says: of "tcont <1-8> profile PROFILE name STRING" the arguments are
//                "tcont", "profile" and "name", of "pm (protocol|data) (enable|disable)" they are "pm" and
//                "protocol" or "data".
//   "PROFILE"    in capitals: the word that stands for it in the syntax, alone or as one of a choice. For
//   what
//                stands behind another argument ("pppoe USERNAME PASSWORD", "vlan <1-4094> (ETHUNI|veip)") or
//                begins the line.
//
// A keyword that a line has twice is told by the keywords in front of it, arguments left out, as many as it
// takes: of "vlan <1-4094> priority <0-7> svlan <1-4094> priority (<0-7>|copy)" there are "vlan priority" and
// "svlan priority".
//
// What has neither a keyword directly in front nor a word in capitals (a range or a choice behind another
// argument, an address behind another) is counted from the keyword: of "onu-auto-flow (vendor|model) <1-4>
// STRING" the number is the argument 1 of "onu-auto-flow", and the choice is its argument 0.
//
// What a line doesn't have (an optional tail, another form of the command, an alternative that wasn't chosen)
// is asked for with has(), or read with what stands for it. A name that none of the handler's commands has,
// or one that stands for two arguments of the line, is a programming error: it is logged at error level,
// reads as 0 or "", and cli_wrong_names() counts it.
//
// Lives as long as the handler runs, and so do the texts. Event loop's thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "kavo_cmd.h"

class CliWords {
public:
    // One word of the line.
    struct Word {
        const kavo_cmd_word_t* syntax;
        const char* keyword;  // in full; null for an argument that is none
        const char* argument; // what was typed, a chosen keyword in full; null for a keyword of the command
        const char* typed = argument; // a keyword as short as it was typed
    };
    CliWords(const kavo_cmd_t& command, std::vector<Word> line);

    // Whether the line has a keyword, fixed or chosen, or an argument that has this name in capitals.
    bool has(std::string_view name) const;

    // The argument that a name stands for, or the argument `nth` of those that follow it without a keyword of
    // the command between them.
    const char* text(std::string_view name, size_t nth = 0) const;
    // The number of one that the library has matched with a range: any decimal number fits into `Number`.
    template <typename Number = int32_t>
    Number number(std::string_view name, size_t nth = 0) const {
        static_assert(std::is_integral_v<Number>);
        return static_cast<Number>(to_number(text(name, nth)));
    }
    // The same, and what stands for an argument that the line doesn't have.
    const char* text_or(std::string_view name, const char* otherwise) const;
    template <typename Number = int32_t>
    Number number_or(std::string_view name, Number otherwise) const {
        const char* word = text_or(name, nullptr);
        return word != nullptr ? static_cast<Number>(to_number(word)) : otherwise;
    }
    // Whether the argument is "enable", of a choice of that and "disable".
    bool is_enable(std::string_view name) const;

    // The word directly behind a keyword, be it an argument or a keyword of the command: of "mode 802.11a"
    // and "mode (802.11b|802.11g)" it says which. What stands for one that the line doesn't have.
    const char* word_or(std::string_view name, const char* otherwise) const;
    // That word as short as it was typed: "voice" may stand for "voice_internet" where there is no "voice".
    const char* typed_or(std::string_view name, const char* otherwise) const;

    // All arguments from the one on that a name stands for, up to the next keyword of the command: for a tail
    // all of its words. Empty when the line doesn't have it.
    std::span<const char* const> all(std::string_view name) const;

    // The line as it may be told: keywords in full, what stands for a password or a key as "***".
    std::string told() const;

    // All arguments of the line in their order.
    std::vector<const char*> arguments() const;

private:
    const Word* word_behind(std::string_view name) const;
    static int64_t to_number(const char* word);
    size_t position_of(std::string_view name) const;

    const kavo_cmd_t& command_;
    std::vector<Word> line_;
    std::vector<const char*> arguments_; // of each word of the line
};

// The words of a syntax that a name stands for: the word's place, or how many words there are for a name that
// it doesn't have or that stands for two of its arguments. For a choice any of its keywords will do.
size_t cli_place_of(std::span<const kavo_cmd_word_t> syntax, std::string_view name);
// The keyword of a syntax that stands directly behind another and is no choice; empty when there is none.
std::string_view cli_keyword_behind(std::span<const kavo_cmd_word_t> syntax, std::string_view name);
// Whether a name can be read or asked for in a syntax.
bool cli_has_name(std::span<const kavo_cmd_word_t> syntax, std::string_view name);

// How many wrong names have been read since the start.
int cli_wrong_names();
