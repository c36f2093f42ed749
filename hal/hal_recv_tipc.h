// What the cards send by themselves: the queues that the receiver thread fills, and their dispatch on the event
// loop every 50 ms. Event loop's thread only.
#pragma once

#include "hal_sock.h"
#include "ov_msg_queue.h"

struct thread;

// Queues of one receiving name. Nothing in this daemon takes from the sync and reply queues.
struct hal_tipc_recvq {
    int ipcHandle = -1; // -1: free
    ov_msg_queue_t hal_tipc_recv_syncq = nullptr;
    ov_msg_queue_t hal_tipc_recv_asyncq = nullptr; // deep: a card's restart is a flood of events
    ov_msg_queue_t hal_tipc_recv_replyq = nullptr;
    int syncq_max = 1024; // entries
    int asyncq_max = 40960;
    int replyq_max = 512;
    int syncq_timeout = 1000000; // microseconds to wait for the queue's lock
    int asyncq_timeout = 500000;
    int replyq_timeout = 1000000;
};
extern hal_tipc_recvq g_hal_tipc_recvq_info[2]; // the second is the one in use

inline constexpr int HAL_DISPATCH_PERIOD_MSEC = 50;
inline constexpr uint64_t HAL_DISPATCH_QUANTUM_USEC = 50000;
inline constexpr unsigned HAL_DISPATCH_BATCH = 10; // messages between two looks at the clock

// Makes the queues of the receiving name and starts its receiver thread; 0, or -1 after a log line.
int hal_init_tipc_recv(int service, int sub_id, int ipc_handle);

// Arms the timer that dispatches to `recv`, in the loop of `master`.
void hal_tipc_start_recv_timer(struct thread_master* master, hal_recv_handle recv);
// The timer: dispatches and arms itself again.
int hal_tipc_asyncmsg_handle_timer(struct thread* thread);
// Dispatches what waits, for at most the quantum and one batch; the rest stays for the next time. KAVO_OK, or
// KAVO_ERR without a clock.
unsigned hal_tipc_asyncmsg_dispatch();

// As hal_recv.
unsigned hal_recv_tipc(hal_recv_handle filter);
