// From a frame on the wire to a message.
#include "ipcImpl.h"
#include "ov_clock.h"
#include "ov_product_log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

// What a receive call brought: a length, IPC_RC_NO_MESSAGE or IPC_RC_FAILED. A frame that is no IPC message
// is dropped here, so that nothing above sees one.
int accept(const wi_ipc_received& received, const ipc_header& hdr, std::span<const uint8_t> msg) {
    if (received.error == EAGAIN)
        return IPC_RC_NO_MESSAGE;
    if (received.error != 0) {
        OV_LOG_ERROR("IPC", "Receiving failed: %s", strerror(received.error));
        return IPC_RC_FAILED;
    }
    if (received.length < sizeof(hdr)) {
        OV_LOG_ERROR("IPC", "A frame of %zu bytes is dropped: too short for a header", received.length);
        return IPC_RC_NO_MESSAGE;
    }
    if (hdr.hdr_id != IPC_HDR_ID) {
        OV_LOG_ERROR("IPC", "A frame is dropped: its header id is 0x%08x", hdr.hdr_id.value());
        return IPC_RC_NO_MESSAGE;
    }
    const int length = int(received.length - sizeof(hdr));
    if (ipc_debug_level_now >= IPC_RECV_DEBUG)
        ipcShowIpcMessage_impl(&hdr, msg.data(),
                               ipc_debug_level_now >= IPC_MSG_DEBUG ? std::min(length, int(msg.size())) : 0);
    return length;
}

} // namespace

int ipc_take_message(IPC_service_reg_st& reg, ipc_header* hdr, std::span<uint8_t> msg, int* returned) {
    const wi_ipc_frame_buffer buffer = {{reinterpret_cast<uint8_t*>(hdr), sizeof(*hdr)}, msg};
    wi_ipc_received received = wi_ipc_take_returned(reg.sockets, buffer, false);
    *returned = received.error == 0 ? 1 : 0;
    if (received.error == 0)
        reg.last_return_why = received.why;
    if (received.error == EAGAIN)
        received = wi_ipc_receive(reg.sockets, buffer);
    return accept(received, *hdr, msg);
}

int ipc_take_arrived(int ipc_handle, ipc_header* hdr, std::span<uint8_t> msg) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    const wi_ipc_frame_buffer buffer = {{reinterpret_cast<uint8_t*>(hdr), sizeof(*hdr)}, msg};
    return accept(wi_ipc_receive(reg->sockets, buffer), *hdr, msg);
}

bool ipc_request_came_back(int ipc_handle, ipc_header* hdr) {
    IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    *hdr = {};
    const wi_ipc_frame_buffer buffer = {{reinterpret_cast<uint8_t*>(hdr), sizeof(*hdr)}, {}};
    return reg != nullptr && wi_ipc_take_returned(reg->sockets, buffer, true).error == 0 &&
           hdr->msg_type == IPC_REQUEST;
}

int ipc_take_returned(int ipc_handle, ipc_header* hdr, std::span<uint8_t>* msg) {
    IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    const wi_ipc_frame_buffer buffer = {{reinterpret_cast<uint8_t*>(hdr), sizeof(*hdr)}, *msg};
    const wi_ipc_received seen = wi_ipc_take_returned(reg->sockets, buffer, true);
    if (seen.error != 0)
        return accept(seen, *hdr, *msg);
    if (seen.length >= sizeof(*hdr) && hdr->msg_type == IPC_REQUEST)
        return IPC_RC_RTRNED_MSG_WAITING;
    const wi_ipc_received taken = wi_ipc_take_returned(reg->sockets, buffer, false);
    reg->last_return_why = taken.why;
    const int length = accept(taken, *hdr, *msg);
    *msg = msg->first(std::min(msg->size(), size_t(std::max(length, 0))));
    return length;
}

int ipc_receive_soon(int ipc_handle, ipc_header* hdr, std::span<uint8_t> msg) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    uint8_t* front = msg.data() - IPC_HDR_SIZE;
    const wi_ipc_received received = wi_ipc_receive_soon(reg->sockets, {{front, sizeof(*hdr)}, msg});
    std::memcpy(static_cast<void*>(hdr), front, sizeof(*hdr));
    return accept(received, *hdr, msg);
}

int ipc_receive_until(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned,
                      std::optional<std::chrono::steady_clock::time_point> deadline) {
    IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    if (hdr == nullptr || msg == nullptr || size < 0)
        return IPC_RC_FAILED;
    if (wi_ipc_wait(reg->sockets, deadline) == WI_IPC_NOTHING)
        return IPC_RC_TIMEOUT;
    int came_back = 0;
    const int rc = ipc_take_message(*reg, hdr, {static_cast<uint8_t*>(msg), size_t(size)}, &came_back);
    if (returned != nullptr)
        *returned = came_back;
    return rc;
}

int ipcReceive_impl(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned, int timeout) {
    if (timeout < 0)
        return IPC_RC_FAILED;
    if (timeout == 0)
        return ipc_receive_until(ipc_handle, hdr, msg, size, returned, std::nullopt);
    return ipc_receive_until(ipc_handle, hdr, msg, size, returned,
                             ov_wait_now() + std::chrono::seconds(timeout));
}

int ipcReceiveNonB_impl(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned) {
    const int rc = ipc_receive_until(ipc_handle, hdr, msg, size, returned, ov_wait_now());
    return rc == IPC_RC_TIMEOUT ? int(IPC_RC_NO_MESSAGE) : rc;
}
