// From a message to a frame on the wire, and what came back at once.
#include "ipcImpl.h"
#include "ov_product_log.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<uint32_t> messages_sent; // msg_num of the last one

// How much of a returned message is looked at to tell whose it is.
constexpr size_t PEEK_SIZE = 1024;

void count_message(uint32_t from, uint32_t to) {
    if (from < IPC_STATS_SERVICES && to < IPC_STATS_SERVICES)
        gl_ipc_stats[from][to].fetch_add(1, std::memory_order_relaxed);
}

int result_of(int error) {
    switch (error) {
    case 0:
        return IPC_RC_SUCCESS;
    case EAGAIN:
        return IPC_RC_SND_BUFF_FULL;
    case EMSGSIZE:
        return IPC_RC_MSG_TOO_LONG;
    default:
        return IPC_RC_FAILED;
    }
}

// Finishes the header, puts it in front of the message and sends both in one call.
int ipc_send(IPC_service_reg_st& reg, const ipc_destination& to, ipc_header& hdr, void* msg, int size) {
    hdr.hdr_id = IPC_HDR_ID;
    hdr.ipc_ver = IPC_VERSION;
    hdr.msg_num = messages_sent.fetch_add(1, std::memory_order_relaxed) + 1;
    if (ipc_debug_level_now >= IPC_SEND_DEBUG)
        ipcShowIpcMessage_impl(&hdr, msg, ipc_debug_level_now >= IPC_MSG_DEBUG ? size : 0);
    uint8_t* front = static_cast<uint8_t*>(msg) - IPC_HDR_SIZE;
    std::memcpy(front, &hdr, sizeof(hdr));
    const std::span<const uint8_t> frame(front, size_t(IPC_HDR_SIZE) + size_t(size));
    reg.last_msg_num = hdr.msg_num;
    const int error = to.mcast
                          ? wi_ipc_send_mcast(reg.sockets, to.serv_id, to.low_sub_id, to.high_sub_id, frame)
                          : wi_ipc_send(reg.sockets, to.serv_id, to.low_sub_id, frame);
    const int rc = result_of(error);
    if (rc != IPC_RC_SUCCESS && ipc_debug_level_now >= IPC_ERROR_DEBUG)
        OV_LOG_DEBUG("IPC", "Sending to service %u, sub id %u: %s", to.serv_id, to.low_sub_id,
                     strerror(error));
    return rc;
}

} // namespace

int ipc_returned_msg_peak(IPC_service_reg_st& reg, uint32_t msg_id) {
    ipc_header hdr;
    std::array<uint8_t, PEEK_SIZE - IPC_HDR_SIZE> start;
    const std::span header_bytes(reinterpret_cast<uint8_t*>(&hdr), sizeof(hdr));
    const wi_ipc_received seen = wi_ipc_take_returned(reg.sockets, {header_bytes, start}, true);
    if (seen.error == EAGAIN)
        return IPC_RC_SUCCESS;
    if (seen.error != 0)
        return IPC_RC_UNEXPECTED;
    if (seen.length < sizeof(hdr) || hdr.msg_id != msg_id)
        return IPC_RC_RTRNED_MSG_WAITING;
    wi_ipc_take_returned(reg.sockets, {header_bytes, start}, false);
    reg.last_return_why = seen.why;
    return IPC_RC_MSG_RTRNED;
}

uint32_t ipcLastMsgNum_impl(int ipc_handle) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    return reg != nullptr ? reg->last_msg_num.load() : 0;
}

bool ipcReturnedForRoom_impl(int ipc_handle) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    return reg != nullptr && reg->last_return_why == WI_IPC_NO_ROOM;
}

int ipcWatchRoom_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    const int fd = reg->sockets.carrier->watch_room({dest_serv_id + WI_IPC_TYPE_BASE, dest_sub_id});
    return fd >= 0 ? fd : int(IPC_RC_FAILED);
}

int ipcGetReturnFd_impl(int ipc_handle) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    return reg != nullptr ? reg->sockets.snd_sock : int(IPC_RC_INVALID_IDENT);
}

int ipc_prep_hdr_and_send(int ipc_handle, const ipc_destination& to, ipc_msg_type type, void* msg, int size,
                          uint32_t* msg_id) {
    IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    if (msg == nullptr || size < 0)
        return IPC_RC_FAILED;
    ipc_header hdr = {};
    hdr.sender_serv_id = reg->serv_id;
    hdr.sender_sub_id = reg->sub_id;
    hdr.msg_type = type;
    hdr.msg_id = type == IPC_REPLY ? *msg_id : uint32_t(rand()); // NOLINT(cert-msc30-c,cert-msc50-cpp)
    if (msg_id != nullptr)
        *msg_id = hdr.msg_id;
    count_message(reg->serv_id, to.serv_id);
    const int rc = ipc_send(*reg, to, hdr, msg, size);
    return rc != IPC_RC_SUCCESS ? rc : ipc_returned_msg_peak(*reg, hdr.msg_id);
}

int ipcSend_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                 uint32_t* msg_id) {
    return ipc_prep_hdr_and_send(ipc_handle, {dest_serv_id, dest_sub_id, dest_sub_id, false}, IPC_ASYNC, msg,
                                 size, msg_id);
}

int ipcSendReq_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                    uint32_t* msg_id) {
    return ipc_prep_hdr_and_send(ipc_handle, {dest_serv_id, dest_sub_id, dest_sub_id, false}, IPC_REQUEST,
                                 msg, size, msg_id);
}

int ipcSendMcast_impl(int ipc_handle, uint32_t dest_serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                      void* msg, int size, uint32_t* msg_id) {
    return ipc_prep_hdr_and_send(ipc_handle, {dest_serv_id, low_sub_id, high_sub_id, true}, IPC_ASYNC, msg,
                                 size, msg_id);
}

int ipcReply_impl(int ipc_handle, const ipc_header* request, void* msg, int size) {
    if (request == nullptr)
        return IPC_RC_FAILED;
    uint32_t msg_id = request->msg_id;
    const ipc_destination to = {request->sender_serv_id, request->sender_sub_id, request->sender_sub_id,
                                false};
    return ipc_prep_hdr_and_send(ipc_handle, to, IPC_REPLY, msg, size, &msg_id);
}
