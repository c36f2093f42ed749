// WAN connections of an ONU (sRmWanTable).
#pragma once

#include "mmg_access.h"
#include "sRmWanTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rmwan_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
// Makes a connection; with `is_need_check` the check chain runs too. OV_GPON_RET_EXIST (1002) when it is
// there.
int ov_app_gpon_rm_wan_add(ov_sRmWanTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check);
int ov_app_gpon_rm_wan_edit(ov_sRmWanTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_wan_del(ov_sRmWanTable_attr_t* attr);
