// VoIP of an ONU: which signalling it uses (sRmVoipConfigDataTable). One row for each ONU and for each
// service profile, which comes and goes with it.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmVoipConfigDataTable.h"

extern int gpon_rm_voip_config_data_appid;
extern const MessageMap<ov_sRmVoipConfigDataTable_attr_t, ov_rm_voip_config_data_attr_t>
    rm_voip_config_data_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_voip_cfg;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_voip_cfg;

// Start-up, in its place of the list.
void ov_app_gpon_rm_voip_conig_data_init();

// Door of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_voip_config_data_edit(ov_sRmVoipConfigDataTable_attr_t* attr, MIB_Flags_t* flag);

// The attributes that a card's replay sets for a row: its columns that aren't at their default.
ov_bmp_t ov_rm_voip_config_data_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rm_voip_config_data_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_voip_config_data_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_app_gpon_rm_voip_config_data_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_app_gpon_rm_voip_config_data_onu_srvprofile_set_callback(MIBDID did, void* row,
                                                                MIB_Flags_t column_flag);
