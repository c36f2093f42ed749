// The TR-069 client of an ONU (sRmTr069MgmtTable).
#pragma once

#include "mmg_access.h"
#include "sRmTr069MgmtTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rm_tr069_mgmt_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_tr069_mgmt_edit(ov_sRmTr069MgmtTable_attr_t* attr, MIB_Flags_t* flag);
