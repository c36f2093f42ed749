// The configuration replay: the controller calls the daemon for each stage that it registered.
#pragma once

#include "command.h"

// An action that sends UMSG_CFG_SLOT_SYNC_START of a slot for each stage, in the order of their priority.
// step_ms 0: all at once. Otherwise each stage waits until the daemon has reported the one before as done,
// at most step_ms milliseconds; the action is then over after the last report. Its answer has one line per
// stage.
Action replay_action(Chassis& chassis, uint32_t slot, uint32_t step_ms);
