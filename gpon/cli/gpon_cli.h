// What the command handlers share, beside their CliCall.
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

// A table's text for a terminal, '?' for what isn't printable (ov_shown_text.h): managers may have put in
// what would upset one.
std::string gpon_cli_shown(const char* text);
