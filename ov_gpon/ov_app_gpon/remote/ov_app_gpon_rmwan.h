// WAN connections of an ONU (sRmWanTable), those of a service profile too. They are made by operators and go
// with their ONU; those of a service profile stay when it goes.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmWanTable.h"

extern int gpon_rmwan_appid;
extern const MessageMap<ov_sRmWanTable_attr_t, ov_gpon_rmwan_attr_t> rmwan_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_wan;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_wan;

// Start-up, in its place of the list.
void ov_app_gpon_rmwan_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
// Makes a connection; with `is_need_check` the check chain runs too. OV_GPON_RET_EXISTED (1002) when it is
// there.
int ov_app_gpon_rm_wan_add(ov_sRmWanTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check);
int ov_app_gpon_rm_wan_edit(ov_sRmWanTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_wan_del(ov_sRmWanTable_attr_t* attr);

// ---- checks: 1 passes; 0 behind a log line ---------------------------------------------------------------

// Of the owner: a service profile that is there, and that no ONU is bound to. An ONU isn't looked at.
char ov_app_gpon_rm_wan_check(const ov_sRmWanTable_attr_t* attr, int action, MIB_Flags_t flags);
// Of the other connections of the owner: none has the same mode, type and VLAN, and none is bound to one of
// the same LAN ports or wireless networks.
char ov_rmwan_parameter_check(const ov_sRmWanTable_attr_t* attr);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rmwan_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmwan_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmwan_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
