// Which cards can be talked to. A message to a card whose channel isn't active is dropped with success;
// the control client's slot events drive the flags. Event loop's thread only.
#pragma once

#include "ov_slot.h"

// One flag per slot, slot N at N - 1; 1 when the message channel to the slot's card is active.
extern int g_agent_slot_exited[OV_SLOT_MAX];

// Marks the channel of a slot active; only a control or line card slot, or any slot of a single board,
// takes the mark. `func_name` and `line` are the caller's and stand in the log line.
void hal_slot_active_flag_set(const char* func_name, int line, unsigned short slot_id);
// Marks it inactive.
void hal_slot_active_flag_clear(const char* func_name, int line, unsigned short slot_id);
// 1 when the channel is active; slot 0 and numbers above 31 read 0.
unsigned int hal_slot_active_flag_check(unsigned short slot_id);

// Clears the flag and logs the transition, if there is one. What waits for the slot is dropped.
void ov_slot_active_flag_clear(unsigned short slot_id);
