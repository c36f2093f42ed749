// The last five online periods of an ONU: sOnuHistoryTable, a row for each row of sOnuTable.
#pragma once

#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"

extern int gpon_onu_history_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_onu_history_init();

// A card reports an ONU's state: opens a period at state 3, closes it at state 1.
void ov_app_gpon_onu_state_historytable_update(ov_gpon_trap_onu_state_attr_t* state);

// The row made and removed with the ONU. 1, or 0 behind a log line.
char ov_onuhistroy_table_add(const ov_sOnuTable_attr_t* onu);
char ov_onuhistory_table_del(const ov_sOnuTable_attr_t* onu);

int ov_onuhistory_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
