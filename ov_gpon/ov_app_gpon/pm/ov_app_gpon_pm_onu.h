// Counters of ONUs (onuPmTable). What a row is and how it comes about: pm_family.h.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "onuPmTable.h"
#include "pm_family.h"

extern int gpon_pmonu_appid;
extern const PmFamily ONU_PM;

// Start-up, in its place of the list.
void ov_app_gpon_pm_onu_init();

// Reads what an ONU counts into a row, past the table; with ifReadClean the card begins at 0 again, with
// ifCheckAlarm the thresholds are looked at. 0, or the code of the failure: the counters stay. Waits for the
// card.
int get_onu_pm_data_from_hal(MIBDID did, ov_onuPmTable_attr_t* row, int ifReadClean, int ifCheckAlarm);
// The same for a show: the counters alone.
int ov_get_onu_pm_data_from_hal(ov_onuPmTable_attr_t* pmib, int ifReadClean);

// Begins the pass over the table that ends an interval. It goes on by itself.
void get_onu_pm_data_task();

// A read of the table brings it up to date.
int pmonu_table_self_get(MIBDID did, void* row, MIB_Flags_t flags);
// A row comes and goes with sOnuTablePmEnable.
int pmonu_table_onu_set(MIBDID did, void* row, MIB_Flags_t flags);
