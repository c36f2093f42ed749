// Alarms of the line cards, on their way into the active alarm table. Event loop's thread.
//
// A card reports the raise and the clear of an alarm of a source. An event waits for its hold-off time (a
// raise 3 s, a clear 10 s); while it waits,
//
//   the same event again      starts the time anew, so what is repeated all the time never gets through
//   the opposite event        cancels both, and the table never hears of either
//
// The tick of one second takes what has waited long enough into the table, a hundred alarms at a time,
// between which the loop serves others; what comes in between still cancels what is left. Each write of the
// table sends a notification; a clear is announced twice, as the row with state clear and as the row that
// goes. The table's file is written once behind all changes of a tick, so the active alarms survive a
// restart.
#pragma once

#include <cstdint>

#include "mmg_access.h"
#include "ov_app_gpon_alarm_cache.h"
#include "sActiveAlarmTable.h"
#include "sOnuTable.h"

// The application's id with the table core, set at start.
extern int gpon_alarm_appid;

// Registers the callbacks and the tick. Start-up, in its place of the list.
void ov_app_gpon_alarm_task_init();

// Takes an event: the driver's columns and the time stamp of a row, which is copied. -1 for null, else 0.
int ov_app_gpon_alarm_eventhandle(const sActiveAlarmTable_entry* pentry);

// The tick, all of it at once. Called once a second.
void alarm_1s_task();

// LEDs of this board, by the numbers of the card's driver.
enum ov_gpon_led_t : uint8_t { OV_GPON_LED_FAULT = 2 };
enum ov_gpon_led_act_t : uint8_t { OV_GPON_LED_ACT_ON = 0, OV_GPON_LED_ACT_OFF = 1 };

// Tells the board whether the fault LED is lit: it is, while a row of code OLT_PON_LOS or OLT_ETH_LOS stands
// in the table.
void ov_app_gpon_alarm_led();
// Sends one LED's state to the board, without waiting for an answer. OV_GPON_RET_OK, also when the board's
// channel isn't active; else the transport's error.
int ov_gpon_led_msg_send(uint8_t lednm, uint8_t ledact);

// Set callback of sOnuTable for its row status: an ONU that is deleted takes its alarms along. Always 1.
int ov_alarm_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t flags);
// Clears and deletes the alarms that am_compare gives to the ONU, past the hold-off times. Events of the ONU
// that still wait are left alone.
void ov_alarm_table_iterate_del(const sOnuTable_entry* onu);
// Comparison for sActiveAlarmTableClass_QBC: 0 when the alarm (data2, a row of sActiveAlarmTable) is one of
// the ONU (data1, a row of sOnuTable), else 1. `flag` is not used.
int am_compare(void* data1, void* data2, int flag);
