// Services behind an ONU (sRmServiceTable).
#pragma once

#include "mmg_access.h"
#include "sRmServiceTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rmservice_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
// Makes a service of an ONU, or of a service profile.
int ov_app_gpon_rmservice_add(ov_sRmServiceTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rmservice_edit(ov_sRmServiceTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rmservice_del(ov_sRmServiceTable_attr_t* attr);
