// Which uplink ports have their counters collected (uplinkPmActTable).
#pragma once

#include "mmg_access.h"
#include "uplinkPmActTable.h"

// Start-up, in its place of the list.
void ov_app_uplink_pm_action_init();

// The row of a port that appears, or that goes. 0 or OV_GPON_RET_*.
int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* attr);
