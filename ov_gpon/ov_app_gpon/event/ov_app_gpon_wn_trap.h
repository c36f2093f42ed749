// Alarm reports of the line cards (OV_HAL_MSG_GPON_WN_TRAP) as events of the alarm module. Event loop's
// thread.
#pragma once

#include "ov_hal_gpon_records.h"
#include "sActiveAlarmTable.h"

// The application's id with the table core, set at start.
extern int gpon_wn_trap_appid;

// Start-up, in its place of the list.
void ov_app_gpon_wn_trap_init();

// Hands a report on to the alarm module; the record is valid for the call only. Always 0.
int ov_app_gpon_wn_trap_set_by_lowlayer(const ov_gpon_wanning_trap_t* attr);

// Fills in the driver's eight columns as the card gave them, and the time stamp with the present local time.
void ov_wn_trap_hal_data_convert_to_mib(sActiveAlarmTable_entry* mib, const ov_gpon_wanning_trap_t* hal);
