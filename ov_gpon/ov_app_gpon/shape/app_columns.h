// Sets of columns, made where they are needed.
#pragma once

#include <cstddef>
#include <iterator>

#include "mmg_access.h"

// These columns.
template <typename... Column>
constexpr MIB_Flags_t columns_of(Column... column) {
    MIB_Flags_t columns = {};
    (mib_flag_set(columns, column), ...);
    return columns;
}

// All columns but these.
template <typename... Column>
constexpr MIB_Flags_t columns_but(Column... column) {
    MIB_Flags_t columns = mibDefFlags;
    (mib_flag_clear(columns, column), ...);
    return columns;
}

// Those of `columns` that are in `wanted` too.
constexpr MIB_Flags_t columns_in(const MIB_Flags_t& columns, const MIB_Flags_t& wanted) {
    MIB_Flags_t common = {};
    for (size_t word = 0; word < std::size(common.flags); ++word)
        common.flags[word] = columns.flags[word] & wanted.flags[word];
    return common;
}

// Whether there is a column in the set.
constexpr bool any_column(const MIB_Flags_t& columns) {
    for (const unsigned word : columns.flags)
        if (word != 0)
            return true;
    return false;
}
