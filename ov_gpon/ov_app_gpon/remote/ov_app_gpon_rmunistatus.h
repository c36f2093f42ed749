// State and settings of the UNIs of an ONU (sRmUniStatusTable). The rows come with an ONU, or with a service
// profile, as many as its ONU type has ports, and go with it.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmUniStatusTable.h"

extern int gpon_unistatus_appid;
extern const MessageMap<ov_sRmUniStatusTable_attr_t, ov_gpon_rmuni_attr_t> unistatus_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_uni_status;

// UNIs whose counters may be fetched; the test lets one more in.
inline constexpr int OV_GPON_RMUNI_PM_MAX = 800;

// Start-up, in its place of the list.
void ov_app_gpon_rmunistatus_init();

// Writes these columns of a UNI's row: what has changed goes to the ONU and, on a working port, to the
// partner. Rows of service profiles are stored alone. 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmunistatus_edit(ov_sRmUniStatusTable_attr_t* attr, MIB_Flags_t* flag);

// The record of a row, and the attributes of these columns.
void sunistatus_mib_data_convert_to_hal(ov_sRmUniStatusTable_attr_t* mib, ov_gpon_rmuni_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
// The attributes that a card's replay sets for a row: its columns that aren't at their default.
ov_bmp_t ov_rmuni_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_unistatus_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_unistatus_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// The link, live.
int ov_unistatus_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_unistatus_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_unistatus_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
