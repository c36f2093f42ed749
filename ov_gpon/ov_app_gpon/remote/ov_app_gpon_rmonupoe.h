// Power over Ethernet of a whole ONU (sRmOnuPoeTable).
#pragma once

#include "mmg_access.h"
#include "sRmOnuPoeTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rmonupoe_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmonupoe_edit(ov_sRmOnuPoeTable_attr_t* attr, MIB_Flags_t* flag);
