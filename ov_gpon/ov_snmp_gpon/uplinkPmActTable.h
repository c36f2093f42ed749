// One row for every uplink port: whether its performance is recorded.
#pragma once

#include "ov_types.h"

// TODO: the shadows come with the table's description, which then replaces this record.
struct uplinkPmActTable_entry {
    mib_long shelfID;              // index
    mib_long slotID;               // index
    mib_long portID;               // index
    mib_long uplinkPmAction;       // column 1
    mib_long uplinkPmActRowStatus; // column 2
};
typedef uplinkPmActTable_entry ov_uplinkPmActTable_attr_t;
