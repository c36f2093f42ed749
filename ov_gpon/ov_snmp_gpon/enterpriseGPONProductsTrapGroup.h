// The daemon's notifications: SNMPv2 traps that carry a row of a table.
//
// A notification is made from the table's description: the index columns that the table has objects for, then
// its columns, each named by its column's OID alone, without a row's index; last the trap time, in seconds
// since the epoch although its type is TimeTicks. Managers of this system read them that way. All OIDs carry
// the product's enterprise number.
//
// Only the active alarm table's is sent (see trap_row_changed); the others have no caller yet.
#pragma once

#include <cstdint>

#include "table_desc.h"

// send_<table>Trap_trap(row): sends the table's notification with the values of a row, which stays the
// caller's. Returns 0, whether anybody is connected or not. Any thread: away from the event loop's, the
// notification is handed to it.
#define OV_TRAP(number, table)                                                                               \
    struct table##_entry;                                                                                    \
    int send_##table##Trap_trap(struct table##_entry* pNewCfg);
#include "trap_list.def"
#undef OV_TRAP

// The same by the table's description. Returns -1 for a table without a notification.
int trap_send_row(const TableDesc& desc, const void* row);

// The hook of all tables behind a change of a row: sends the notification if the table is the active alarm
// table, and does nothing otherwise.
void trap_row_changed(const TableDesc& desc, const void* row);
