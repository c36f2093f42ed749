// The transport over the named IPC: frames to the cards' agents and their replies. hal_sock.h is the face of
// it. Event loop's thread only.
#pragma once

#include "hal_sock.h"
#include "ipc_app_cb.h"

// The names this daemon talks and listens under; null before hal_init. The sending one's timeout is how long
// a card may take to answer.
extern IPC_APP_CB_T* g_agent_msg_tx_cb;
extern IPC_APP_CB_T* g_agent_msg_rx_cb;

inline constexpr int HAL_REPLY_TIMEOUT = 12; // seconds that a card may take to answer the GPON daemon

// A sub id packs a service and a slot.
constexpr int _hal_tipc_get_app_slotid(int module_id, int slot_id) {
    return module_id * 100 + slot_id;
}
constexpr int _hal_tipc_get_module_id(int app_slotid) {
    return app_slotid / 100;
}
constexpr int _hal_tipc_get_slot_id(int app_slotid) {
    return app_slotid % 100;
}

// Registers both names, starts the receiver thread and arms the timer. Ends the process with status 1 when
// one of these fails.
void hal_init_tipc(unsigned module, struct thread_master* master, hal_recv_handle recv);

// Sends as hal_send and hal_send_async do, without their checks of the length.
unsigned hal_send_sync_tipc(hal_nlmsghdr* nlhdr);
unsigned hal_send_async_tipc(const hal_nlmsghdr* nlhdr);

// Puts a message of `msg_size` bytes into a frame of any content, as HAL_FRAME_SYNC or HAL_FRAME_ASYNC; the
// frame's length. What lies behind that isn't sent.
int _hal_tipc_fill_frame(hal_frame_t& frame, const hal_nlmsghdr& message, unsigned msg_size, uint32_t topic);
// Copies a reply of `received` bytes over the request it answers, never beyond the request's length whatever
// the lengths in it say. The agent's return code, or KAVO_ERR for a reply that can't be one.
int _hal_tipc_accept_reply(hal_nlmsghdr* message, unsigned msg_size, hal_frame_t& reply, size_t received);
// What a return code of an agent is to whoever asked: 0, OV_GPON_RET_NOT_SUPPORT, or KAVO_ERR behind a reason
// and a log line.
unsigned _hal_tipc_result_of(int retcode, int type, uint32_t slot);

// One exchange with the agent of the slot in nlmsg_pid; `msg_size` is the message's length. Returns the
// agent's return code, KAVO_ERR for a reply that can't be used, or a negative ipc_rc.
int _hal_tipc_send_syncmsg(hal_nlmsghdr* message, unsigned msg_size);
// One message to the agent of a slot, at once or by the slot's outbox (hal_outbox.h); 0, or a negative
// ipc_rc, which has been logged.
int _hal_tipc_send_asyncmsg(const hal_nlmsghdr* message, unsigned msg_size, unsigned slot);

// Shown what arrives instead of an awaited reply: gives a one-way message that has come back to its outbox,
// what belongs to a request of hal_request.h to that, drops anything else, and lets the wait go on (0).
int _hal_tipc_non_reply_callback(void* msg_ptr, int msg_size, int rtrned_msg);

void hal_sock_tipc_debug_flag_set(int debug_flag);
