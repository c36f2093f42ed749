// Repeating calls on the event loop, with the contract of the SNMP library's alarms, for the modules below.
#pragma once

#include "mmg_mib_save_task.h"

// Calls `callback` on the event loop's thread every `when` seconds, or once if `flags` isn't 1 (SA_REPEAT).
// Returns the registration's number, from 1; 0 when `when` is 0 or `callback` is null. Event loop's thread.
unsigned int gpon_alarm_register(unsigned int when, unsigned int flags, mmg_alarm_callback callback,
                                 void* clientarg);
