// Which uplink ports have their counters recorded (uplinkPmActTable): a row for each port that has appeared.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "uplinkPmActTable.h"

// Start-up, in its place of the list.
void ov_app_uplink_pm_action_init();

// The row of a port that appears (one that is there already stays as it is), a change of it with these
// columns, and the end of it. 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_uplink_pm_action_edit(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* attr);

// Admits every write.
int ov_uplink_pm_action_table_set_callback(MIBDID did, void* row, MIB_Flags_t flags);
