// Counters of uplink ports (uplinkPmTable). What a row is and how it comes about: pm_family.h.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "pm_family.h"
#include "uplinkPmTable.h"

extern int uplink_pm_appid;
extern const PmFamily UPLINK_PM;

// Start-up, in its place of the list.
void ov_app_gpon_pm_ui_init();

// Reads what an uplink port counts into a row, past the table; with ifReadClean the card begins at 0 again,
// with ifCheckAlarm the thresholds are looked at. 0, or the code of the failure: the counters stay. Waits for
// the card.
int get_ui_pm_data_from_hal(MIBDID did, ov_uplinkPmTable_attr_t* row, int ifReadClean, int ifCheckAlarm);

// Begins the pass over the table that ends an interval. It goes on by itself.
void get_ui_pm_data_task();

// There are no thresholds for these: 0.
int check_alarm_for_ui_pm(ov_uplinkPmTable_attr_t* uiPm);
// A read of the table brings it up to date.
int pm_uplink_table_self_get(MIBDID did, void* row, MIB_Flags_t flags);
// A row comes and goes with uplinkPmAction.
int uplink_pm_table_action_table_set(MIBDID did, void* row, MIB_Flags_t flags);
