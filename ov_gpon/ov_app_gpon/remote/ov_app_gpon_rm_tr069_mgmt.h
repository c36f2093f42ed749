// The TR-069 client of an ONU (sRmTr069MgmtTable). One row for each ONU, which comes and goes with it.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmTr069MgmtTable.h"

extern int gpon_rm_tr069_mgmt_appid;
extern const MessageMap<ov_sRmTr069MgmtTable_attr_t, ov_gpon_onu_tr069_mgmt_attr_t> rm_tr069_mgmt_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_tr069;

// Start-up, in its place of the list.
void ov_app_gpon_rm_tr069_mgmt_init();

// Door of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_tr069_mgmt_edit(ov_sRmTr069MgmtTable_attr_t* attr, MIB_Flags_t* flag);

// The attributes that a card's replay sets for a row: its columns that aren't at their default.
ov_bmp_t ov_rm_tr069_mgmt_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rm_tr069_mgmt_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_tr069_mgmt_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_tr069_mgmt_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
