// Thresholds of the optics of an ONU (sRmOnuOptThresholdTable).
#pragma once

#include "mmg_access.h"
#include "sRmOnuOptThresholdTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rmonu_opt_threshold_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmonu_opt_threshold_edit(ov_sRmOnuOptThresholdTable_attr_t* attr, MIB_Flags_t* flag);
