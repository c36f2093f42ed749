// The rows of a full chassis: 14 line cards of 16 PON ports of 128 ONUs, in the tables that grow with it.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "table_module.h"

#define OV_TABLE(table) TableModule& table_module_##table();
#include "table_list.def"
#undef OV_TABLE

namespace chassis {

inline constexpr int ONUS = 14 * 16 * 128;

struct Part {
    TableModule* module;
    int rows;
};

// About a million rows.
inline std::vector<Part> parts() {
    return {
        {&table_module_sOnuTable(), ONUS},          {&table_module_sOnuExtendInfoTable(), ONUS},
        {&table_module_sTcontTable(), 4 * ONUS},    {&table_module_sGemTable(), 8 * ONUS},
        {&table_module_servicePortTable(), 112000}, {&table_module_sRmUniStatusTable(), 200000},
        {&table_module_sRmUniVlanTable(), 200000},  {&table_module_sRmInfoTable(), ONUS},
        {&table_module_sOnuHistoryTable(), ONUS},
    };
}

// The n-th index of a table of that many rows, filled slot by slot.
inline void set_index(const TableDesc& desc, int rows, int n, void* row) {
    constexpr std::array<int, 4> shelf_dims = {1, 14, 16, 128};
    const size_t columns = desc.index.size();
    std::vector<int> dims(columns, 1);
    int places = 1;
    for (size_t c = 0; c < std::min<size_t>(columns, 4); ++c)
        places *= dims[c] = shelf_dims[c];
    dims[columns - 1] *= (rows + places - 1) / places;
    for (size_t c = columns; c-- > 0;) {
        auto value = static_cast<uint32_t>(n % dims[c] + 1);
        memcpy(static_cast<char*>(row) + desc.index[c].offset, &value, sizeof(value));
        n /= dims[c];
    }
}

// A configured row: small numbers, names of a dozen characters in every text.
inline std::vector<char> make_row(const TableDesc& desc, int rows, int n) {
    std::vector<char> row(desc.entry_size);
    set_index(desc, rows, n, row.data());
    for (const ColumnDesc& column : desc.columns) {
        char* value = row.data() + column.offset;
        uint32_t number = static_cast<uint32_t>(n + column.number) % (column.number % 3 == 0 ? 5000 : 10);
        if (column.type == ColType::TEXT)
            snprintf(value, column.size, "gpon-onu%u:%u", number, static_cast<unsigned>(n % 128));
        else if (column.type == ColType::ROWSTATUS)
            *reinterpret_cast<int32_t*>(value) = OVRA_ACTIVE;
        else if (column.type == ColType::BIN)
            memset(value, n & 0xFF, column.size);
        else
            memcpy(value, &number, sizeof(number));
    }
    return row;
}

// Fills a freshly registered table.
inline void fill(const Part& part) {
    for (int n = 0; n < part.rows; ++n)
        row_add(part.module->did(), make_row(part.module->desc(), part.rows, n).data());
}

} // namespace chassis
