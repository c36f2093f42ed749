#include "ov_ipc_rcv.h"

#include "ipcApi.h"
#include "libovra.h"
#include "ov_product_log.h"
#include "ovra_thread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

namespace {

constexpr unsigned STACK_SIZE = 0x20000;
constexpr useconds_t AFTER_SIGNAL = 1000;  // microseconds
constexpr useconds_t AFTER_ERROR = 100000; // so that a broken socket doesn't flood the log
constexpr int RECEIVE_TIMEOUT = 1;         // seconds

// The packet header behind the IPC header: its size, and where its word msg_len stands.
constexpr int PACKET_HDR_SIZE = 36;
constexpr int PACKET_MSG_LEN_OFFSET = 20;

static_assert(OV_MSGQ_ENVELOPE_SIZE == IPC_HDR_SIZE);
static_assert(OV_MSGQ_MAX_ENTRY == IPC_MAX_FRAME_SIZE);

uint32_t packet_msg_len(const uint8_t* packet) {
    boost::endian::big_uint32_at word;
    std::memcpy(&word, packet + PACKET_MSG_LEN_OFFSET, sizeof(word));
    return word;
}

// Signals are the event loop's business; those of a crash come to the thread that crashed anyway.
void leave_signals_to_main() {
    sigset_t all;
    sigfillset(&all);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
        sigdelset(&all, own);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

void* _ov_ipc_recv_start(void* arg) {
    auto* receiver = static_cast<ov_ipc_recv_s*>(arg);
    ov_ipc_recv_msg msg;
    leave_signals_to_main();
    for (;;) {
        pollfd fd = {ipcGetReadFd(receiver->ov_ipc_recv_handle_id), POLLIN, 0};
        const int ready = poll(&fd, 1, -1);
        if (ready < 0) {
            usleep(errno == EINTR ? AFTER_SIGNAL : AFTER_ERROR);
            continue;
        }
        const int rc = _ov_ipc_recv_message(receiver, &msg);
        if (rc < 0 && rc != IPC_RC_NO_MESSAGE)
            usleep(AFTER_ERROR);
    }
    return nullptr;
}

// Requests and replies go with their header, so that a consumer can answer.
int enqueue(const ov_ipc_recv_s& receiver, const ov_ipc_recv_msg& msg, int length) {
    switch (msg.hdr_ptr->msg_type) {
    case IPC_REQUEST:
        return ov_msgq_enqueue_envelope(receiver.ov_ipc_recv_syncq, msg.msg_ptr, length, msg.hdr_ptr);
    case IPC_REPLY:
        return ov_msgq_enqueue_envelope(receiver.ov_ipc_recv_replyq, msg.msg_ptr, length, msg.hdr_ptr);
    default:
        return ov_msgq_enqueue(receiver.ov_ipc_recv_asyncq, msg.msg_ptr, length);
    }
}

// True when this process is to run the receiver.
bool take_lock_file(int modid, int app_id) {
    std::array<char, 80> path;
    snprintf(path.data(), path.size(), "/var/run/ov_ipc_receive_%d_%d.lock", modid, app_id);
    const int rc = ov_lockfile_already_running(path.data());
    if (rc == OV_LOCKFILE_RUNNING)
        return false;
    if (rc != OV_LOCKFILE_TAKEN) {
        OV_LOG_FATAL("IPC", "%s can't be locked: %s", path.data(), strerror(rc));
        exit(EXIT_FAILURE);
    }
    return true;
}

} // namespace

int ov_ipc_recv_handler_run(ov_ipc_recv_s* receiver, const ov_ipc_recv_msg* msg) {
    const int modid = receiver->ov_ipc_recv_module_id;
    const int app_id = receiver->ov_ipc_recv_app_id;
    const int type = int(msg->hdr_ptr->msg_type);
    const int received = std::min(msg->rc_rcv_msg_size, msg->msg_max_size);
    // The sender's word about the length counts as far as there are bytes.
    const int length = received < PACKET_HDR_SIZE
                           ? received
                           : int(std::min<uint32_t>(packet_msg_len(msg->msg_ptr), uint32_t(received)));
    if (length < PACKET_HDR_SIZE) {
        OV_LOG_ERROR("IPC", "ipc_rcv_%d_%d: message of %d bytes is shorter than its header, msg_type[%d]",
                     modid, app_id, length, type);
        return -1;
    }
    const int rc = enqueue(*receiver, *msg, length);
    if (rc == OV_MSGQ_FULL)
        OV_LOG_ERROR("IPC", "msgq is full, msg_type[%d] ipc_rcv_%d_%d", type, modid, app_id);
    else if (rc != OV_MSGQ_OK)
        OV_LOG_ERROR("IPC", "enmsgq is error, ret[%d] msg_type[%d] ipc_rcv_%d_%d", rc, type, modid, app_id);
    return rc;
}

int _ov_ipc_recv_message(ov_ipc_recv_s* receiver, ov_ipc_recv_msg* msg) {
    msg->msg_max_size = IPC_MAX_MSG_SIZE;
    msg->return_msg_flag = 0;
    msg->hdr_ptr = new (msg->ipc_msg) ipc_header;
    msg->msg_ptr = msg->ipc_msg + IPC_HDR_SIZE;
    const int rc = ipcReceive(receiver->ov_ipc_recv_handle_id, msg->hdr_ptr, msg->msg_ptr, msg->msg_max_size,
                              &msg->return_msg_flag, RECEIVE_TIMEOUT);
    msg->rc_rcv_msg_size = rc;
    if (rc == IPC_RC_NO_MESSAGE) {
        receiver->count_of_no_message++;
        return rc;
    }
    const int modid = receiver->ov_ipc_recv_module_id;
    const int app_id = receiver->ov_ipc_recv_app_id;
    if (rc < 0) {
        OV_LOG_ERROR("IPC", "ipc_rcv_%d_%d: ipcReceive returned %d %s! Exiting App!\n", modid, app_id, rc,
                     ipcGetErrorCodeStr(rc));
        return rc;
    }
    if (msg->return_msg_flag != 0) {
        OV_LOG_WARN("IPC", "ipc_rcv_%d_%d: ipcReceive Got a returned message!\n", modid, app_id);
        return rc;
    }
    msg->msg_id = msg->hdr_ptr->msg_id;
    receiver->count_of_messages_rx++;
    if (receiver->g_ipc_recv_debug_flag != 0)
        ipcShowIpcMessage(msg->hdr_ptr, msg->msg_ptr, std::min(rc, msg->msg_max_size));
    ov_ipc_recv_handler_run(receiver, msg);
    return rc;
}

int ov_ipc_rcv_init(int modid, int app_id, int handle, ov_msg_queue_t syncq, ov_msg_queue_t asyncq,
                    ov_msg_queue_t replyq) {
    if (modid < 0 || app_id < 0 || handle < 0)
        return -1;
    if (syncq == nullptr || asyncq == nullptr || replyq == nullptr)
        return -1;
    if (!take_lock_file(modid, app_id))
        return 0;
    auto receiver = std::make_unique<ov_ipc_recv_s>();
    receiver->ov_ipc_recv_handle_id = handle;
    receiver->ov_ipc_recv_module_id = modid;
    receiver->ov_ipc_recv_app_id = app_id;
    receiver->ov_ipc_recv_syncq = syncq;
    receiver->ov_ipc_recv_asyncq = asyncq;
    receiver->ov_ipc_recv_replyq = replyq;
    std::array<char, 40> name;
    snprintf(name.data(), name.size(), "ipc_rcv_%d_%d", modid, app_id);
    if (Ovra_ThreadCreate(name.data(), 0, STACK_SIZE, _ov_ipc_recv_start, receiver.get(), nullptr) != 0) {
        OV_LOG_FATAL("IPC", "Thread %s can't be started", name.data());
        exit(EXIT_FAILURE);
    }
    static_cast<void>(receiver.release()); // the thread's from here on, which never ends
    return 0;
}
