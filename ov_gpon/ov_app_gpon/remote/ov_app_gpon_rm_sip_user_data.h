// SIP users of an ONU (sRmVoipSipUserDataTable): one row for each of its POTS ports, which comes and goes
// with the ONU. Service profiles have none.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmVoipSipUserDataTable.h"

extern int gpon_rm_sip_user_appid;
extern const MessageMap<ov_sRmVoipSipUserDataTable_attr_t, ov_rm_voip_sip_user_data_attr_t> rm_sip_user_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_voip_sip_user;

// Start-up, in its place of the list.
void ov_app_gpon_rm_sip_user_data_init();

// Door of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_sip_user_data_edit(ov_sRmVoipSipUserDataTable_attr_t* attr, MIB_Flags_t* flag);

// The rows of an ONU: makes as many as its type has POTS ports, removes all. 1, or 0 behind a log line.
char ov_sip_user_table_iterate_add(const ov_sOnuTable_attr_t* onu);
char ov_sip_user_table_iterate_del(const ov_sOnuTable_attr_t* onu);

// The attributes that a card's replay sets for a row: its columns that aren't at their default.
ov_bmp_t ov_rm_voip_sip_user_data_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rm_sip_user_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_sip_user_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_app_gpon_rm_sip_user_data_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
