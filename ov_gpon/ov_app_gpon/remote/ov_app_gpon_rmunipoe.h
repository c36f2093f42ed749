// Power over Ethernet at the UNIs of an ONU (sRmUniPoeTable).
#pragma once

#include "mmg_access.h"
#include "sRmUniPoeTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rmunipoe_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmunipoe_edit(ov_sRmUniPoeTable_attr_t* attr, MIB_Flags_t* flag);
