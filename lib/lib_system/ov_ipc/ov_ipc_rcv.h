// The receiver thread of a handle: takes each message off the socket and sorts it into one of three queues,
// so that a flood doesn't depend on the event loop's leisure. Requests go to the sync queue, replies to the
// reply queue (both with the IPC header as the entry's envelope), everything else to the async queue.
#pragma once

#include "ipc_types.h"
#include "ov_msg_queue.h"

#include <atomic>

// A received message.
struct ov_ipc_recv_msg {
    int msg_max_size;    // bytes for the message in ipc_msg
    int rc_rcv_msg_size; // what ipcReceive returned
    int return_msg_flag;
    uint32_t msg_id;
    ipc_header* hdr_ptr;
    uint8_t* msg_ptr;                                        // behind the header in ipc_msg
    alignas(ipc_header) uint8_t ipc_msg[IPC_MAX_FRAME_SIZE]; // header, message
};

// A receiver's state; lives as long as the process.
struct ov_ipc_recv_s {
    int ov_ipc_recv_handle_id;
    std::atomic<uint32_t> count_of_messages_rx; // sorted into a queue or refused by one
    std::atomic<uint32_t> count_of_no_message;  // woken for nothing
    int ov_ipc_recv_module_id;
    int ov_ipc_recv_app_id;
    std::atomic<int> g_ipc_recv_debug_flag;
    ov_msg_queue_t ov_ipc_recv_syncq;
    ov_msg_queue_t ov_ipc_recv_asyncq;
    ov_msg_queue_t ov_ipc_recv_replyq;
};

// Starts the receiver of `handle`, thread "ipc_rcv_<modid>_<app_id>" (cut by the system at 15 characters).
// One runs for each pair of ids on a machine, kept by the file
// "/var/run/ov_ipc_receive_<modid>_<app_id>.lock": when one runs already, 0 is returned and nothing is
// started. -1 for a negative id or a null queue. Ends the process with status 1 when the lock file or the
// thread can't be had. The queues must outlive the process's use of the handle.
int ov_ipc_rcv_init(int modid, int app_id, int handle, ov_msg_queue_t syncq, ov_msg_queue_t asyncq,
                    ov_msg_queue_t replyq);

// One round of the thread: takes a message (waiting up to a second) and sorts it. For tests too.
// Returns ipcReceive's result.
int _ov_ipc_recv_message(ov_ipc_recv_s* receiver, ov_ipc_recv_msg* msg);
// Puts a received message into its queue. A message shorter than a packet header (36 bytes) is logged and
// dropped; its length in the queue is the smaller of the header's msg_len and the bytes received.
// Returns the queue's result, or -1 for a short message.
int ov_ipc_recv_handler_run(ov_ipc_recv_s* receiver, const ov_ipc_recv_msg* msg);
