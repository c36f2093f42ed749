// One row for every PON port of the chassis.
#pragma once

#include "ov_types.h"

// Column numbers, which are also the bits of a change mask.
enum : unsigned {
    SPONTABLE_COLUMN_ADMINSTATE = 5,
    SPONTABLE_COLUMN_OPERATIONALSTATE = 6,
};

enum : int32_t { SPONTABLEADMINSTATE_DISABLED = 0, SPONTABLEADMINSTATE_ENABLED = 1 };
enum : int32_t { SPONTABLEOPERATIONALSTATE_GREENONOP = 1, SPONTABLEOPERATIONALSTATE_LEDOFF = 3 };

// TODO: the other columns, 4 and 7 to 35, and the shadows come with the table's description, which then
// replaces this record.
struct sPonTable_entry {
    mib_long shelfID; // index
    mib_long slotID;  // index
    mib_long portID;  // index
    mib_long sPonTableAdminState;
    mib_long sPonTableOperationalState;
};
typedef sPonTable_entry ov_sPonTable_attr_t;
