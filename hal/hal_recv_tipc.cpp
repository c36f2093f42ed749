#include "hal_recv_tipc.h"

#include <algorithm>

#include "hal_debug.h"
#include "hal_sock_tipc.h"
#include "kavo_timer.h"
#include "libovra.h"
#include "ov_ipc_rcv.h"
#include "ov_product_log.h"
#include "ov_types.h"

hal_tipc_recvq g_hal_tipc_recvq_info[2];

namespace {

struct thread_master* g_master = nullptr;
struct thread* g_timer = nullptr;
hal_recv_handle g_recv = nullptr;

bool make_queue(ov_msg_queue_t* queue, int max, int timeout, const char* name) {
    const int ret = ov_msgq_create(queue, max, timeout);
    if (ret != OV_MSGQ_OK)
        OV_LOG_ERROR("LIB", "ov_msgq_create %s failed. ret[%d]", name, ret);
    return ret == OV_MSGQ_OK;
}

bool make_queues(hal_tipc_recvq& q) {
    return make_queue(&q.hal_tipc_recv_syncq, q.syncq_max, q.syncq_timeout, "hal_tipc_recv_syncq") &&
           make_queue(&q.hal_tipc_recv_asyncq, q.asyncq_max, q.asyncq_timeout, "hal_tipc_recv_asyncq") &&
           make_queue(&q.hal_tipc_recv_replyq, q.replyq_max, q.replyq_timeout, "hal_tipc_recv_replyq");
}

hal_tipc_recvq* find_recvq() {
    if (!g_agent_msg_rx_cb)
        return nullptr;
    auto* found = std::find_if(std::begin(g_hal_tipc_recvq_info), std::end(g_hal_tipc_recvq_info),
                               [](const hal_tipc_recvq& q) {
                                   return q.ipcHandle >= 0 && q.ipcHandle == g_agent_msg_rx_cb->ipcHandle;
                               });
    return found != std::end(g_hal_tipc_recvq_info) ? found : nullptr;
}

hal_tipc_recvq* recvq_in_use() {
    static hal_tipc_recvq* recvq = nullptr;
    if (!recvq)
        recvq = find_recvq();
    return recvq;
}

// Hands the message in a frame of `size` bytes on. What is too short to be one is dropped.
unsigned deliver(hal_frame_t& frame, size_t size, hal_recv_handle filter) {
    if (size < offsetof(hal_frame_t, msg) || frame.nlhdr.nlmsg_len < sizeof(hal_nlmsghdr))
        return KAVO_OK;
    if (hal_debug_flag_get())
        hal_debug_frame("recv", frame);
    const size_t present = size - offsetof(hal_frame_t, nlhdr);
    const size_t len = std::min<size_t>(frame.nlhdr.nlmsg_len, present);
    return filter ? filter(frame.nlhdr.nlmsg_type, frame.msg, static_cast<unsigned>(len)) : KAVO_OK;
}

} // namespace

int hal_init_tipc_recv(int service, int sub_id, int ipc_handle) {
    hal_tipc_recvq& q = g_hal_tipc_recvq_info[1];
    q.ipcHandle = ipc_handle;
    if (!make_queues(q))
        return -1;
    const int ret = ov_ipc_rcv_init(service, sub_id, ipc_handle, q.hal_tipc_recv_syncq,
                                    q.hal_tipc_recv_asyncq, q.hal_tipc_recv_replyq);
    if (ret != 0)
        OV_LOG_ERROR("LIB", "ov_ipc_rcv_init failed. ret[%d]", ret);
    return ret == 0 ? 0 : -1;
}

void hal_tipc_start_recv_timer(struct thread_master* master, hal_recv_handle recv) {
    g_master = master;
    g_recv = recv;
    kavo_add_timer_msec(g_master, hal_tipc_asyncmsg_handle_timer, nullptr, HAL_DISPATCH_PERIOD_MSEC,
                        &g_timer);
}

int hal_tipc_asyncmsg_handle_timer(struct thread* /*thread*/) {
    hal_tipc_asyncmsg_dispatch();
    kavo_add_timer_msec(g_master, hal_tipc_asyncmsg_handle_timer, nullptr, HAL_DISPATCH_PERIOD_MSEC,
                        &g_timer);
    return 0;
}

unsigned hal_tipc_asyncmsg_dispatch() {
    static ov_timing_t* timing = nullptr;
    if (!timing)
        timing = ov_timing_new();
    if (!timing)
        return KAVO_ERR;
    ov_timing_start(timing);
    for (unsigned done = 1; hal_recv(g_recv) == KAVO_OK; ++done) {
        if (done % HAL_DISPATCH_BATCH != 0)
            continue;
        const uint64_t passed = ov_timing_get_inter(timing); // it runs on
        if (passed < HAL_DISPATCH_QUANTUM_USEC)
            continue;
        OV_LOG_INFO("LIB", "dispatched %u messages in %.3f ms, the rest waits for the next tick", done,
                    static_cast<double>(passed) / 1000.0);
        break;
    }
    return KAVO_OK;
}

unsigned hal_recv_tipc(hal_recv_handle filter) {
    const hal_tipc_recvq* q = recvq_in_use();
    if (!q)
        return KAVO_ERR;
    alignas(8) hal_frame_t frame;
    static_assert(sizeof frame >= OV_MSGQ_MAX_ENTRY);
    const int ret = ov_msgq_dequeue(q->hal_tipc_recv_asyncq, &frame);
    if (ret == OV_MSGQ_EMPTY)
        return KAVO_EMPTY;
    if (ret < 0) {
        OV_LOG_ERROR("LIB", "dequeue msg failed return %d", ret);
        return KAVO_ERR;
    }
    return deliver(frame, static_cast<size_t>(ret), filter);
}
