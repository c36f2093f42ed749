// Optical thresholds that an ONU holds (sRmOnuOptThresholdTable). One row for each ONU, which comes and goes
// with it: the levels of light are set, those of voltage, bias current and temperature read from the ONU.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmOnuOptThresholdTable.h"

extern int gpon_rm_opt_threshold_appid;
extern const MessageMap<ov_sRmOnuOptThresholdTable_attr_t, ov_gpon_rmonu_opt_threshold_attr_t>
    rmonu_opt_threshold_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_onu_threshold;

// Start-up, in its place of the list.
void ov_app_gpon_rmonu_opt_threshold_init();

// Door of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmonu_opt_threshold_edit(ov_sRmOnuOptThresholdTable_attr_t* attr, MIB_Flags_t* flag);

// The row of an ONU: adds it when it isn't there, removes it when it is. 1, or 0 behind a log line.
char ov_rmonu_opt_threshold_table_add(const ov_sOnuTable_attr_t* onu);
char ov_rmonu_opt_threshold_table_del(const ov_sOnuTable_attr_t* onu);

// 1 while the row's ONU is in operation and can be asked.
char ov_rmonu_status_check(const ov_sRmOnuOptThresholdTable_attr_t* row);
// The record of a row, and the attributes of those columns that can be set.
void ov_rmonu_optthreshold_mib_data_convert_to_hal(const ov_sRmOnuOptThresholdTable_attr_t* mib,
                                                   ov_gpon_rmonu_opt_threshold_attr_t* hal,
                                                   const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
// The attributes that a card is told of a row: its levels that aren't at their default.
ov_bmp_t ov_rmonu_opt_ponthreshold_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

// Sets, whatever the ONU's state is: the card's answer counts.
int ov_rmonu_optthreshold_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmonu_optthreshold_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmonu_optthd_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
