// The last five online periods of an ONU: sOnuHistoryTable, a row for each row of sOnuTable.
#pragma once

#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuHistoryTable.h"
#include "sOnuTable.h"

extern int gpon_onu_history_appid;

// The columns of a period: when the ONU came online and when it went off, in seconds of local time, 0 for not
// yet.
struct OnuPeriod {
    mib_ulong ov_sOnuHistoryTable_attr_t::*auth;
    mib_ulong ov_sOnuHistoryTable_attr_t::*off;
};
// The periods of a row, the newest first.
inline constexpr OnuPeriod ONU_PERIODS[] = {
    {&ov_sOnuHistoryTable_attr_t::sOnuHistoryAuthTime1, &ov_sOnuHistoryTable_attr_t::sOnuHistoryOffTime1},
    {&ov_sOnuHistoryTable_attr_t::sOnuHistoryAuthTime2, &ov_sOnuHistoryTable_attr_t::sOnuHistoryOffTime2},
    {&ov_sOnuHistoryTable_attr_t::sOnuHistoryAuthTime3, &ov_sOnuHistoryTable_attr_t::sOnuHistoryOffTime3},
    {&ov_sOnuHistoryTable_attr_t::sOnuHistoryAuthTime4, &ov_sOnuHistoryTable_attr_t::sOnuHistoryOffTime4},
    {&ov_sOnuHistoryTable_attr_t::sOnuHistoryAuthTime5, &ov_sOnuHistoryTable_attr_t::sOnuHistoryOffTime5},
};

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_onu_history_init();

// A card reports an ONU's state: opens a period at state 3, closes it at state 1.
void ov_app_gpon_onu_state_historytable_update(ov_gpon_trap_onu_state_attr_t* state);

// The row made and removed with the ONU. 1, or 0 behind a log line.
char ov_onuhistroy_table_add(const ov_sOnuTable_attr_t* onu);
char ov_onuhistory_table_del(const ov_sOnuTable_attr_t* onu);

int ov_onuhistory_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
