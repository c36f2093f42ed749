// The row of a QoS object, which the application writes past all callbacks: what they would do is done by
// then, or isn't wanted.
#pragma once

#include "app_columns.h"
#include "app_rows.h"
#include "table_record.h"

// Writes a row that is complete, and makes it when it isn't there; one that waits comes into service by it.
// False when the table refuses.
template <typename Row>
bool qos_put_row(Row& row) {
    const TableDesc& desc = table_of<Row>::module().desc();
    MIB_Flags_t columns = mibDefFlags;
    const Row* stored = find_stored_row(row);
    if (stored != nullptr && is_in_service(*stored))
        mib_flag_clear(columns, desc.row_status->number);
    else
        set_row_status(desc, &row, stored != nullptr ? OVRA_ACTIVE : OVRA_CREATEANDGO);
    return mib_access(MIB_SET_S_N, row, columns);
}

// Deletes the row with the index of `key`. True also when there is none.
template <typename Row>
bool qos_drop_row(Row& key) {
    return find_stored_row(key) == nullptr || mib_access(MIB_DEL_S_N, key);
}
