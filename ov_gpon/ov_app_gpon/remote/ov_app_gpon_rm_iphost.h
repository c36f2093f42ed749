// The IP host of an ONU, by which it is managed (sRmIPHostTable): one for each ONU at most, and for each
// service profile. It is made by operators and goes with its owner.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmIPHostTable.h"

extern int gpon_rm_iphost_appid;
extern const MessageMap<ov_sRmIPHostTable_attr_t, ov_gpon_onu_iphost_attr_t> rm_iphost_map;
// What an ONU answers: the addresses that it has in use.
extern const MessageMap<ov_sRmIPHostTable_attr_t, ov_gpon_onu_iphost_attr_t> rm_iphost_current_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_iphost;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_iphost;

// Start-up, in its place of the list.
void ov_app_gpon_rm_iphost_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_iphost_add(ov_sRmIPHostTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_iphost_edit(ov_sRmIPHostTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_iphost_del(ov_sRmIPHostTable_attr_t* attr);
// Fills the addresses that the ONU has in use, whatever its state. 0, or the result of the message, such as
// OV_GPON_RET_NOT_SUPPORT, and the row stays. Waits for the card.
int ov_app_gpon_iphost_hal_get(ov_sRmIPHostTable_attr_t* row);

// How many IP hosts this ONU, or service profile, has: `onu` is an index.
int ov_rm_iphost_count(const ov_sOnuTable_attr_t& onu);
// Whether the row's owner has no other IP host. 1 passes; 0 behind a log line.
char ov_rm_iphost_count_iterate_parser_check(const ov_sRmIPHostTable_attr_t* attr);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rm_iphost_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_iphost_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// The addresses in use, live.
int ov_rm_iphost_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_iphost_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_iphost_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
