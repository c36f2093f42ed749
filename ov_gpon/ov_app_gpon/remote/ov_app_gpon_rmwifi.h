// Wi-Fi of an ONU (sRmWifiTable).
#pragma once

#include "mmg_access.h"
#include "sRmWifiTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rmwifi_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
// As of ov_app_gpon_rm_wan_add.
int ov_app_gpon_rm_wifi_add(ov_sRmWifiTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check);
int ov_app_gpon_rm_wifi_edit(ov_sRmWifiTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_wifi_del(ov_sRmWifiTable_attr_t* attr);
