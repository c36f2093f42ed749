// Counters of GEM ports (gemPmTable). What a row is and how it comes about: pm_family.h.
//
// Main loop only.
#pragma once

#include "gemPmTable.h"
#include "mmg_access.h"
#include "pm_family.h"
#include "sGemTable.h"

extern int gpon_pmgem_appid;
extern const PmFamily GEM_PM;

// Start-up, in its place of the list.
void ov_app_gpon_pm_gem_init();

// Reads what a GEM port counts into a row, past the table; with ifReadClean the card begins at 0 again, with
// ifCheckAlarm the thresholds are looked at. 0, or the code of the failure: the counters stay. Waits for the
// card.
int get_gem_pm_data_from_hal(MIBDID did, ov_gemPmTable_attr_t* row, int ifReadClean, int ifCheckAlarm);
// The same for a show: the counters alone.
int ov_get_gem_pm_data_from_hal(ov_gemPmTable_attr_t* pmib, int ifReadClean);

// Begins the pass over the table that ends an interval. It goes on by itself.
void get_gem_pm_data_task();

// A read of the table brings it up to date.
int pmgem_table_self_get(MIBDID did, void* row, MIB_Flags_t flags);
// A row comes and goes with sGemTablePmEnable.
int pmgem_table_gem_set(MIBDID did, void* row, MIB_Flags_t flags);

// Makes (isAdd 1) or removes the row of a GEM port that an ONU has from its service profile, if the GEM
// port's counters are on and column_flag means that. 0 or OV_GPON_RET_FAIL.
int ov_app_gpon_pm_gem_edit(ov_sGemTable_attr_t* attr, MIB_Flags_t column_flag, char isAdd);
