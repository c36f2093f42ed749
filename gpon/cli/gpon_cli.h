// What the command handlers share.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "mmg_access.h"
#include "ov_types.h"

struct vty;

// Longest names that commands take: of bandwidth and service profiles; of ONU types and traffic profiles.
inline constexpr size_t GPON_CLI_PROFILE_NAME_MAX = 64;
inline constexpr size_t GPON_CLI_SHORT_NAME_MAX = 32;

// An enable-or-disable keyword, told by its first letter: the parser has seen to it that it is one of the
// two.
inline bool gpon_cli_is_enable(const char* word) {
    return word[0] == 'e';
}
// The number of a word that the parser has matched with a range.
mib_long gpon_cli_number(const char* word);

// A set of columns.
MIB_Flags_t gpon_cli_columns(std::initializer_list<unsigned> columns);

// Copies a word into a text column of a cleared record. False, and nothing is copied, for one that is longer
// than `longest`; the column must have room for that.
template <size_t Size>
bool gpon_cli_copy_word(char (&column)[Size], const char* word, size_t longest = Size - 1) {
    const std::string_view text = word;
    if (text.size() > longest || text.size() >= Size)
        return false;
    text.copy(column, text.size());
    return true;
}

// A table's text for a terminal, '?' for what isn't printable: managers may have put in what would upset one.
std::string gpon_cli_shown(const char* text);

// Prints a text as vty_out would, "%%" as a percent sign and "%s" as the session's line end: for texts that
// stand in tables. Gives the result handed in, so that a handler can end with it. The text stands for the
// reason of the refusal when nothing else was stated or logged.
int gpon_cli_fail(struct vty* vty, const char* text, int result = KAVO_CLI_FAILED);
// The same for a name that is longer than `longest`, which the reason tells.
int gpon_cli_fail_name(struct vty* vty, const char* text, size_t longest);
