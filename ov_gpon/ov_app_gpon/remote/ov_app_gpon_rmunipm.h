// Counters of the UNIs of an ONU (sRmUniPmTable): a row for each UNI whose counters are switched on, filled
// by a task once in 15 minutes (ov_app_gpon_rmunipm_task.h), and what a UNI counts right now.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "sRmUniPmTable.h"

extern int gpon_unipm_appid;
extern const MessageMap<ov_sRmUniPmTable_attr_t, ov_gpon_rmuni_stats_attr_t> unipm_map;

// Start-up, in its place of the list.
void ov_app_gpon_rmunipm_init();

// Reads what the UNI of the row's index counts upstream, or downstream, into the row's counters, past the
// table; `action` is OV_HAL_GPON_MSG_ACTION_GET or OV_HAL_GPON_MSG_ACTION_GET_CURRENT (counting still). 0, or
// the result of the message, such as OV_GPON_RET_NOT_SUPPORT, and the row stays. Waits for the card.
int ov_get_uni_pm_us_data_from_hal(ov_sRmUniPmTable_attr_t* row, ov_hal_gpon_msg_action_t action);
int ov_get_uni_pm_ds_data_from_hal(ov_sRmUniPmTable_attr_t* row, ov_hal_gpon_msg_action_t action);

// A row comes and goes with sRmUniStatusTablePmEnable of its UNI.
int ov_unipm_unistatustable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
