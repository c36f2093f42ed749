// Control blocks: what a daemon keeps for one name that it talks under. Messages of up to 2048 bytes, no
// free bytes in front needed, counters kept. Any thread; calls on one block take turns (a sync send that
// waits holds the others up).
#pragma once

#include <chrono>
#include <cstdint>
#include <span>

#include "ipcApi.h"

typedef struct ipc_app_cb {
    int ipcHandle;
    uint32_t serv_id;        // registered under, and where messages go
    uint32_t my_slot_app_id; // own sub id
    int timeout;             // seconds that a sync send waits; 1 after ipc_app_cb_init, 0 means 5
    ipc_non_reply_callback_t non_reply_callback;
    // Whether a request is one whose sender waits for it elsewhere: when it comes back it is the callback's,
    // and no reason for a sync send to end. Null: none is.
    bool (*is_awaited)(const ipc_header& request);

    uint32_t num_sync_send;
    uint32_t num_sync_send_fail;
    uint32_t num_sync_send_return;
    uint32_t num_async_send;
    uint32_t num_async_send_fail;
    uint32_t num_async_send_return;
    uint32_t num_mcast_send;
    uint32_t num_mcast_send_fail;
    uint32_t num_recv;
} IPC_APP_CB_T;

// Registers the name and gives its control block, null when that fails (logged). `callback` may be null;
// see ipc_non_reply_callback_t. Freed with ipc_app_cb_destroy.
IPC_APP_CB_T* ipc_app_cb_init(uint32_t serv_id, uint32_t sub_id, uint32_t flags,
                              ipc_non_reply_callback_t callback);
// Gives the name back. Null is allowed.
void ipc_app_cb_destroy(IPC_APP_CB_T* cb);

// Sends a request to (cb->serv_id, sub) and copies the reply into `reply` (at most `reply_size` bytes).
// Returns the reply's length or a negative ipc_rc: IPC_RC_FAILED for a message above 2048 bytes (or a null or
// negative argument), IPC_RC_MSG_TOO_LONG for a reply that doesn't fit, IPC_RC_RTRNED_MSG_WAITING when an
// older request has come back (this one was sent, its reply isn't awaited; take the returned one with
// ipc_receive_nonblock; a one-way message that came back goes to the callback, if there is one), else as
// ipcSyncSend.
int ipc_send_sync_msg(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size, void* reply, int reply_size);

// The same with a point in time in place of the block's timeout.
int ipc_send_sync_msg_until(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size, void* reply,
                            int reply_size, std::chrono::steady_clock::time_point deadline);
// When a request that goes out now has had the block's timeout.
std::chrono::steady_clock::time_point ipc_sync_deadline(const IPC_APP_CB_T* cb);

// Sends a one-way message to (cb->serv_id, sub) and never waits. IPC_RC_MSG_RTRNED when it came back, for one
// of the two reasons that ipcReturnedForRoom tells apart. IPC_RC_RTRNED_MSG_WAITING means sent, and that an
// older message has come back and waits to be taken. IPC_RC_FAILED above 2048 bytes. Ends the process with
// status 1 on IPC_RC_UNEXPECTED.
int ipc_post_msg(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size);
// Takes a one-way message of this block that has come back, without waiting: its length, with *msg cut to the
// bytes of it that came (TIPC brings 1024 with the header). IPC_RC_NO_MESSAGE; IPC_RC_RTRNED_MSG_WAITING when
// a request stands in front, which the next send reports. Ends the process on any other result.
int ipc_take_returned_msg(IPC_APP_CB_T* cb, ipc_header* header, std::span<uint8_t>* msg);

// Sends a request to (cb->serv_id, sub) without waiting for the reply, which has the id that `msg_id` gets:
// it is taken with ipc_take_msg, or, while a sync send on the block waits for another, goes to its callback.
// Results as ipc_post_msg.
int ipc_post_request(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size, uint32_t* msg_id);
// Takes a message that has arrived, without waiting, and none that came back. Its length, of which at most
// `size` bytes are in `buf`; IPC_RC_NO_MESSAGE; another ipc_rc.
int ipc_take_msg(IPC_APP_CB_T* cb, ipc_header* header, void* buf, int size);

// Sends a one-way message to (cb->serv_id, sub). A message that comes back is tried once more after a
// millisecond. IPC_RC_RTRNED_MSG_WAITING means sent, and that an older message had come back: it has been
// TAKEN already, so don't wait for it again. Ends the process with status 1 on IPC_RC_UNEXPECTED. Over 2048
// bytes: IPC_RC_FAILED.
int ipc_send_async_msg(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size);

// One-way message to the sub ids from low to high of cb->serv_id.
int ipc_send_mcast_msg(IPC_APP_CB_T* cb, uint32_t low_sub, uint32_t high_sub, const void* msg, int size);

// Takes one message, waiting up to a second. Returns its length, IPC_RC_MSG_RTRNED for one of our own that
// came back (it is in header and buf all the same), IPC_RC_MSG_TOO_LONG for one that doesn't fit, or
// IPC_RC_NO_MESSAGE. ENDS THE PROCESS with status 1 on any other result, and a second without a message is
// one (IPC_RC_TIMEOUT): call it when something is known to wait.
int ipc_receive_nonblock(IPC_APP_CB_T* cb, ipc_header* header, void* buf, int size);
