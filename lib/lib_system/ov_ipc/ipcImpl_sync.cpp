// A request and its reply.
#include "ipcImpl.h"
#include "ov_clock.h"
#include "ov_product_log.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr int SHOWN_OF_NON_REPLY = 12; // bytes behind the header

// A message received while a reply is awaited; it stands behind its header in the caller's buffer.
struct Received {
    ipc_header hdr;
    uint8_t* msg;
    int length;    // of the message
    int in_buffer; // bytes of it that the buffer holds
    int returned;
};

bool is_reply(const Received& got, uint32_t msg_id) {
    return got.returned == 0 && got.hdr.msg_type == IPC_REPLY && got.hdr.msg_id == msg_id;
}

bool is_own_request(const Received& got, uint32_t msg_id, const IPC_service_reg_st& reg) {
    return got.returned != 0 && got.hdr.msg_type == IPC_REQUEST && got.hdr.msg_id == msg_id &&
           got.hdr.sender_serv_id == reg.serv_id && got.hdr.sender_sub_id == reg.sub_id;
}

// True when the callback wants the call ended.
bool pass_over(const Received& got, ipc_non_reply_callback_t callback) {
    if (callback != nullptr)
        return callback(got.msg - IPC_HDR_SIZE, got.in_buffer, got.returned) != 0;
    OV_LOG_WARN("IPC", "%s received non reply %s message - discarding:\n", "ipcSyncSend",
                ipcGetMsgTypeStr_impl(got.hdr.msg_type));
    ipcShowIpcMessage_impl(&got.hdr, got.msg, std::min(got.in_buffer, SHOWN_OF_NON_REPLY));
    return false;
}

// Waits for the reply with this id. A peer that sends other things doesn't make the wait longer.
//
// Nearly every reply comes in the first moment, so that is waited for in the cheapest way. Nothing that came
// back was there when the request went out, and what comes back meanwhile is found a moment later.
int await_reply(int ipc_handle, uint32_t msg_id, std::span<uint8_t> reply,
                std::chrono::steady_clock::time_point deadline, ipc_non_reply_callback_t callback) {
    bool first = true;
    do {
        Received got = {.hdr = {}, .msg = reply.data(), .length = 0, .in_buffer = 0, .returned = 0};
        got.length = std::exchange(first, false)
                         ? ipc_receive_soon(ipc_handle, &got.hdr, reply)
                         : ipc_receive_until(ipc_handle, &got.hdr, got.msg, int(reply.size()), &got.returned,
                                             deadline);
        if (got.length == IPC_RC_NO_MESSAGE)
            continue;
        if (got.length < 0)
            return got.length;
        got.in_buffer = std::min(got.length, int(reply.size()));
        std::memcpy(got.msg - IPC_HDR_SIZE, &got.hdr, sizeof(got.hdr));
        if (is_reply(got, msg_id))
            return got.length;
        const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
        if (reg != nullptr && is_own_request(got, msg_id, *reg))
            return IPC_RC_MSG_RTRNED;
        if (pass_over(got, callback))
            return IPC_RC_USER_ABORT;
    } while (ov_wait_now() < deadline);
    return IPC_RC_TIMEOUT;
}

// Whether a request came back whose sender has to be told; whoever awaits it gets it by the callback.
bool forgotten_request_came_back(int ipc_handle, const ipc_exchange& exchange) {
    ipc_header header;
    return ipc_request_came_back(ipc_handle, &header) &&
           (exchange.is_awaited == nullptr || !exchange.is_awaited(header));
}

} // namespace

int ipc_sync_send_until(int ipc_handle, const ipc_peer& to, const ipc_exchange& exchange) {
    uint32_t msg_id = 0;
    const int rc = ipcSendReq_impl(ipc_handle, to.serv_id, to.sub_id, exchange.msg, exchange.size, &msg_id);
    // A one-way message that came back is the callback's, and no reason not to wait for the reply.
    const bool goes_on =
        rc == IPC_RC_SUCCESS || (rc == IPC_RC_RTRNED_MSG_WAITING && exchange.callback != nullptr &&
                                 !forgotten_request_came_back(ipc_handle, exchange));
    if (!goes_on)
        return rc;
    return await_reply(ipc_handle, msg_id, exchange.reply, exchange.deadline, exchange.callback);
}

int ipcSyncSend_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                     void* reply, int reply_size, int timeout, ipc_non_reply_callback_t callback) {
    if (reply == nullptr || reply_size < 0 || timeout < 0)
        return ipc_registration(ipc_handle) == nullptr ? IPC_RC_INVALID_IDENT : IPC_RC_FAILED;
    const std::chrono::seconds wait(timeout == 0 ? IPC_DEFAULT_SYNC_TIMEOUT : timeout);
    return ipc_sync_send_until(ipc_handle, {dest_serv_id, dest_sub_id},
                               {.msg = msg,
                                .size = size,
                                .reply = {static_cast<uint8_t*>(reply), size_t(reply_size)},
                                .deadline = ov_wait_now() + wait,
                                .callback = callback});
}
