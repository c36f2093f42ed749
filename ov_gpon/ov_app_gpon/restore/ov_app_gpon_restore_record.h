// What is remembered of the last replay of each card's configuration, for people who ask how it went.
//
// A replay begins with the controller's first priority, and ends when the card has been told that its
// configuration is complete. Its pauses of a second between the stages are part of its time. Main loop.
#pragma once

#include <cstdint>
#include <ctime>

struct gpon_restore_record_t {
    time_t began = 0;      // wall clock, seconds; 0 when there was none since the start
    time_t ended = 0;      // the same; 0 while it goes on
    uint32_t took_ms = 0;  // of one that has ended, milliseconds
    uint32_t messages = 0; // rows of the stages' tables that went out
    uint32_t failed = 0;   // rows that couldn't be sent, and a card that didn't confirm the end
    uint32_t restores = 0; // begun since the start of the daemon
};

// Of a slot, 1 to 31; an empty one for any other number.
const gpon_restore_record_t& ov_app_gpon_restore_record(int slot);

// ---- for the replay ----------------------------------------------------------------------------------

void ov_app_gpon_restore_note_begin(int slot);
void ov_app_gpon_restore_note_sent(int slot, uint32_t messages, uint32_t failed);
// `confirmed`: the card has answered, if only that it doesn't know what it was told.
void ov_app_gpon_restore_note_end(int slot, bool confirmed);
