#include "gpon_cli.h"

#include <algorithm>
#include <string>

MIB_Flags_t gpon_cli_columns(std::initializer_list<unsigned> columns) {
    MIB_Flags_t flags = {};
    for (const unsigned column : columns)
        mib_flag_set(flags, column);
    return flags;
}

std::string gpon_cli_shown(const char* text) {
    std::string copy = text;
    std::replace_if(
        copy.begin(), copy.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return copy;
}
