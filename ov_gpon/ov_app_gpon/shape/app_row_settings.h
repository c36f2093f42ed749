// The settings of a row: what somebody may have set, and has.
#pragma once

#include "app_rows.h"

// The columns that managers may write, but for the row status, and that aren't at their default.
MIB_Flags_t row_settings(const TableDesc& table, const void* row);

template <typename Row>
MIB_Flags_t settings_of(const Row& row) {
    return row_settings(table_of<Row>::module().desc(), &row);
}
