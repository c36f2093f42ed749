#include "app_row_settings.h"

#include <algorithm>
#include <cstring>

namespace {

bool has_default(const ColumnDesc& column, const char* value) {
    if (column.type == ColType::TEXT)
        return std::strcmp(value, column.dflt_text) == 0;
    if (column.type == ColType::BIN)
        return std::count(value, value + column.size, '\0') == column.size;
    int32_t number = 0;
    static_assert(sizeof(mib_long) == sizeof number && sizeof(mib_ulong) == sizeof number);
    std::memcpy(&number, value, sizeof number);
    return number == static_cast<int32_t>(column.dflt);
}

bool is_setting(const ColumnDesc& column) {
    return column.access != ColAccess::READ_ONLY && column.type != ColType::ROWSTATUS;
}

} // namespace

MIB_Flags_t row_settings(const TableDesc& table, const void* row) {
    MIB_Flags_t columns = {};
    for (const ColumnDesc& column : table.columns)
        if (is_setting(column) && !has_default(column, static_cast<const char*>(row) + column.offset))
            mib_flag_set(columns, column.number);
    return columns;
}
