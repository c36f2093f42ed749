#include "ipc_app_cb.h"

#include "ipcImpl.h"
#include "ov_clock.h"
#include "ov_product_log.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <unistd.h>

namespace {

constexpr int DEFAULT_TIMEOUT = 1;       // seconds
constexpr useconds_t RETRY_PAUSE = 1000; // microseconds

// Counters are read by whoever shows them, and two threads may send on one block.
void count(uint32_t& counter) {
    std::atomic_ref<uint32_t>(counter).fetch_add(1, std::memory_order_relaxed);
}

// A message with the header's place in front of it.
class Frame {
public:
    uint8_t* msg() { return bytes_.data() + IPC_HDR_SIZE; }
    void* fill(const void* from, int size) {
        std::copy_n(static_cast<const uint8_t*>(from), size, msg());
        return msg();
    }

private:
    std::array<uint8_t, IPC_MAX_FRAME_SIZE> bytes_; // not cleared: only what was filled in is sent
};

bool sendable(const IPC_APP_CB_T* cb, const void* msg, int size) {
    return cb != nullptr && msg != nullptr && size >= 0 && size <= IPC_MAX_MSG_SIZE;
}

[[noreturn]] void exit_app(const char* what, int rc) {
    OV_LOG_FATAL("IPC", "!!!%s returned %d %s! Exiting App!", what, rc, ipcGetErrorCodeStr(rc));
    exit(EXIT_FAILURE);
}

// Takes the message that came back out of the way.
void drop_returned(const IPC_APP_CB_T& cb) {
    ipc_header hdr;
    std::array<uint8_t, IPC_MAX_MSG_SIZE> msg;
    int returned = 0;
    ipcReceiveNonB_impl_sem(cb.ipcHandle, &hdr, msg.data(), int(msg.size()), &returned);
}

} // namespace

IPC_APP_CB_T* ipc_app_cb_init(uint32_t serv_id, uint32_t sub_id, uint32_t flags,
                              ipc_non_reply_callback_t callback) {
    int handle = -1;
    const int rc = ipcRegisterService(serv_id, sub_id, flags, &handle);
    if (rc != IPC_RC_SUCCESS) {
        OV_LOG_ERROR("IPC", "ipcRegisterService of service %u, sub id %u returned %d %s", serv_id, sub_id, rc,
                     ipcGetErrorCodeStr(rc));
        return nullptr;
    }
    auto cb = std::make_unique<IPC_APP_CB_T>();
    cb->ipcHandle = handle;
    cb->serv_id = serv_id;
    cb->my_slot_app_id = sub_id;
    cb->timeout = DEFAULT_TIMEOUT;
    cb->non_reply_callback = callback;
    return cb.release();
}

void ipc_app_cb_destroy(IPC_APP_CB_T* cb) {
    const std::unique_ptr<IPC_APP_CB_T> owned(cb);
    if (owned)
        ipcUnregisterService(owned->ipcHandle);
}

std::chrono::steady_clock::time_point ipc_sync_deadline(const IPC_APP_CB_T* cb) {
    return ov_wait_now() + std::chrono::seconds(cb->timeout == 0 ? IPC_DEFAULT_SYNC_TIMEOUT : cb->timeout);
}

int ipc_send_sync_msg(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size, void* reply,
                      int reply_size) {
    if (cb == nullptr)
        return IPC_RC_FAILED;
    return ipc_send_sync_msg_until(cb, sub, msg, size, reply, reply_size, ipc_sync_deadline(cb));
}

int ipc_send_sync_msg_until(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size, void* reply,
                            int reply_size, std::chrono::steady_clock::time_point deadline) {
    if (!sendable(cb, msg, size) || reply == nullptr || reply_size < 0)
        return IPC_RC_FAILED;
    Frame request;
    Frame answer;
    request.fill(msg, size);
    count(cb->num_sync_send);
    const int rc = ipc_sync_send_until_sem(cb->ipcHandle, {cb->serv_id, sub},
                                           {.msg = request.msg(),
                                            .size = size,
                                            .reply = {answer.msg(), size_t(IPC_MAX_MSG_SIZE)},
                                            .deadline = deadline,
                                            .callback = cb->non_reply_callback,
                                            .is_awaited = cb->is_awaited});
    if (rc < 0) {
        count(rc == IPC_RC_RTRNED_MSG_WAITING ? cb->num_sync_send_return : cb->num_sync_send_fail);
        return rc;
    }
    if (rc > reply_size || rc > IPC_MAX_MSG_SIZE)
        return IPC_RC_MSG_TOO_LONG;
    std::copy_n(answer.msg(), rc, static_cast<uint8_t*>(reply));
    return rc;
}

int ipc_send_async_msg(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size) {
    if (!sendable(cb, msg, size))
        return IPC_RC_FAILED;
    Frame frame;
    frame.fill(msg, size);
    count(cb->num_async_send);
    const auto send = [&] {
        return ipcSend_impl_sem(cb->ipcHandle, cb->serv_id, sub, frame.msg(), size, nullptr);
    };
    int rc = send();
    if (rc == IPC_RC_MSG_RTRNED) {
        usleep(RETRY_PAUSE); // the receiver may be about to bind its name again, or to have room
        rc = send();
    }
    if (rc == IPC_RC_UNEXPECTED) // no way on with a broken socket
        exit_app("ipcSend", rc);
    if (rc == IPC_RC_RTRNED_MSG_WAITING) {
        count(cb->num_async_send_return);
        drop_returned(*cb);
    } else if (rc < 0) {
        count(cb->num_async_send_fail);
    }
    return rc;
}

int ipc_post_msg(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size) {
    if (!sendable(cb, msg, size))
        return IPC_RC_FAILED;
    Frame frame;
    frame.fill(msg, size);
    const int rc = ipcSend_impl_sem(cb->ipcHandle, cb->serv_id, sub, frame.msg(), size, nullptr);
    if (rc == IPC_RC_UNEXPECTED)
        exit_app("ipcSend", rc);
    return rc;
}

int ipc_post_request(IPC_APP_CB_T* cb, uint32_t sub, const void* msg, int size, uint32_t* msg_id) {
    if (!sendable(cb, msg, size))
        return IPC_RC_FAILED;
    Frame frame;
    frame.fill(msg, size);
    return ipcSendReq_impl_sem(cb->ipcHandle, cb->serv_id, sub, frame.msg(), size, msg_id);
}

int ipc_take_msg(IPC_APP_CB_T* cb, ipc_header* header, void* buf, int size) {
    if (cb == nullptr || header == nullptr || buf == nullptr || size < 0)
        return IPC_RC_FAILED;
    return ipc_take_arrived_sem(cb->ipcHandle, header, {static_cast<uint8_t*>(buf), size_t(size)});
}

int ipc_take_returned_msg(IPC_APP_CB_T* cb, ipc_header* header, std::span<uint8_t>* msg) {
    const int rc = ipc_take_returned_sem(cb->ipcHandle, header, msg);
    if (rc < 0 && rc != IPC_RC_NO_MESSAGE && rc != IPC_RC_RTRNED_MSG_WAITING)
        exit_app("ipcReceive", rc);
    return rc;
}

int ipc_send_mcast_msg(IPC_APP_CB_T* cb, uint32_t low_sub, uint32_t high_sub, const void* msg, int size) {
    if (!sendable(cb, msg, size))
        return IPC_RC_FAILED;
    Frame frame;
    frame.fill(msg, size);
    count(cb->num_mcast_send);
    const int rc =
        ipcSendMcast_impl_sem(cb->ipcHandle, cb->serv_id, low_sub, high_sub, frame.msg(), size, nullptr);
    if (rc < 0)
        count(cb->num_mcast_send_fail);
    return rc;
}

int ipc_receive_nonblock(IPC_APP_CB_T* cb, ipc_header* header, void* buf, int size) {
    if (cb == nullptr)
        return IPC_RC_FAILED;
    int returned = 0;
    const int rc = ipcReceive_impl_sem(cb->ipcHandle, header, buf, size, &returned, 1);
    if (rc == IPC_RC_NO_MESSAGE)
        return rc;
    if (rc < 0)
        exit_app("ipcReceive", rc);
    count(cb->num_recv);
    if (returned != 0)
        return IPC_RC_MSG_RTRNED;
    return rc > size ? int(IPC_RC_MSG_TOO_LONG) : rc;
}
