// Power over Ethernet of a whole ONU (sRmOnuPoeTable): one row for each ONU and for each service profile,
// which comes and goes with it.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmOnuPoeTable.h"

extern int gpon_onupoe_appid;
extern const MessageMap<ov_sRmOnuPoeTable_attr_t, ov_gpon_rmonu_poe_attr_t> onupoe_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_onu_poe;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_onu_poe;

// Start-up, in its place of the list.
void ov_app_gpon_rmonupoe_init();

// Door of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmonupoe_edit(ov_sRmOnuPoeTable_attr_t* attr, MIB_Flags_t* flag);

// The attributes that a card's replay sets for a row: its settings that aren't at their default.
ov_bmp_t ov_rmonu_poe_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rm_onupoe_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_onupoe_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// What the ONU reports, live.
int ov_rm_onupoe_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_onupoe_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_onupoe_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
