// Wireless networks of an ONU (sRmWifiTable), those of a service profile too. They are made by operators and
// go with their ONU; those of a service profile stay when it goes.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmWifiTable.h"

extern int gpon_rmwifi_appid;
extern const MessageMap<ov_sRmWifiTable_attr_t, ov_gpon_rmwifi_attr_t> rmwifi_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_wifi;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_wifi;

// Start-up, in its place of the list.
void ov_app_gpon_rmwifi_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
// As of ov_app_gpon_rm_wan_add.
int ov_app_gpon_rm_wifi_add(ov_sRmWifiTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check);
int ov_app_gpon_rm_wifi_edit(ov_sRmWifiTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_wifi_del(ov_sRmWifiTable_attr_t* attr);

// Of the owner: a service profile that is there, and that no ONU is bound to. An ONU isn't looked at. 1
// passes; 0 behind a log line.
char ov_app_gpon_rm_wifi_check(const ov_sRmWifiTable_attr_t* attr, int action, MIB_Flags_t flags);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rmwifi_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmwifi_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmwifi_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
