#include "gpon_cli.h"

#include <string>

#include "ov_shown_text.h"

MIB_Flags_t gpon_cli_columns(std::initializer_list<unsigned> columns) {
    MIB_Flags_t flags = {};
    for (const unsigned column : columns)
        mib_flag_set(flags, column);
    return flags;
}

std::string gpon_cli_shown(const char* text) {
    return ov_shown_text(text);
}
