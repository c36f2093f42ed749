// Counters of GEM ports (gemPmTable).
#pragma once

#include "sGemTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_pm_gem_init();

// Starts (isAdd 1) or stops the records of a GEM port that an ONU has from its service profile. 0 or
// OV_GPON_RET_FAIL.
int ov_app_gpon_pm_gem_edit(ov_sGemTable_attr_t* attr, MIB_Flags_t column_flag, char isAdd);
