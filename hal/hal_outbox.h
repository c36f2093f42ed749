// What cards have no room for yet: an outbox for each slot, between the transport and the named IPC.
//
// A one-way message never waits. It goes to its card at once, or, when the card has no room or older messages
// wait for it, into the card's outbox, and from there in order:
//
// - unix carrier: the send comes back at once. A descriptor connected to the card's name tells the event loop
//   when there is room (ipcWatchRoom).
// - TIPC: the message comes back at once or a while later, when others behind it have left too. It goes to
//   the outbox's head, in the order in which it was once sent, and whatever follows goes behind it. The event
//   loop sees it come (ipcGetReturnFd), and so does the next send. What was read meanwhile was read before
//   it; nothing can be done about that. Only another try tells whether there is room: after 2 ms with one
//   message, then after twice the time while it comes back, up to 200 ms, and with twice as many while they
//   stay.
//
// The loop is held for at most HAL_OUTBOX_PASS messages of a card before others have their turn.
//
// A request goes behind what waits for its card, within its own timeout (hal_outbox_drain).
//
// Not sent again, but dropped with the failure's line in the log: a message whose card's name nobody has,
// when that is still so a millisecond later; one that came back cut (TIPC returns 1024 bytes, a longer
// message than any record makes); one beyond the bounds below. An outbox is emptied when its slot goes
// inactive.
//
// A program without an event loop sends what waits with its next message, or by hal_outbox_drain.
//
// The outbox allocates memory for what waits, and none for what its card takes at once. Any thread; the
// events are those of the loop's thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "hal_msg.h"
#include "ipc_types.h"

struct thread_master;

// Bytes that wait for one card, HAL_OUTBOX_ENTRY for each message included: the replay of a full card, of
// which nothing was read, fits (hal_outbox_bound.cpp adds it up). And for all cards together.
inline constexpr size_t HAL_OUTBOX_MAX = size_t{64} << 20;
inline constexpr size_t HAL_OUTBOX_TOTAL = 4 * HAL_OUTBOX_MAX;
inline constexpr size_t HAL_OUTBOX_ENTRY = 64;
inline constexpr unsigned HAL_OUTBOX_PASS = 64; // messages

// How long to leave a card alone that has no room.
struct hal_patience {
    std::chrono::milliseconds pause{2};
    unsigned in_vain = 0; // tries, one after the other
};

// Takes the loop that runs the events; null for a program without one.
void hal_outbox_init(struct thread_master* master);

// Sends a frame to the agent of a slot, or puts it into the slot's outbox. 0, or a negative ipc_rc, which has
// been logged: IPC_RC_SND_BUFF_FULL beyond the bounds.
int hal_outbox_send(unsigned slot, const hal_frame_t& frame, int frame_len);

// Sends what waits for a slot, and waits for its room until `deadline`. 0 when nothing waits any more, or
// IPC_RC_TIMEOUT.
int hal_outbox_drain(unsigned slot, std::chrono::steady_clock::time_point deadline);

// Waits for room at the card of a slot, for whose request there was none. False when the deadline has come.
bool hal_outbox_wait_room(unsigned slot, hal_patience& patience,
                          std::chrono::steady_clock::time_point deadline);

// Notes a message of `size` bytes that came back while a reply was awaited, for hal_outbox_collect, which is
// to be called when that is over. One that isn't a one-way message of this module, or for a slot that isn't
// active any more, is dropped.
void hal_outbox_notice(const ipc_header& header, const void* msg, size_t size);
void hal_outbox_collect();

// Drops what waits for a slot.
void hal_outbox_clear(unsigned slot);

// What waits for a slot.
size_t hal_outbox_messages(unsigned slot);
size_t hal_outbox_bytes(unsigned slot); // with the entries
