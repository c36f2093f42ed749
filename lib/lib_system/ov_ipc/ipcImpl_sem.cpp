// The semaphores: one per handle, so that threads can share it.
#include "ipcImpl.h"

#include <cerrno>

ipc_sem_calls_t ipc_sem_calls = {sem_init, sem_wait, sem_post, sem_destroy};

int ipc_sem_take(sem_t* sem) {
    while (ipc_sem_calls.wait(sem) != 0)
        if (errno != EINTR)
            return IPC_RC_SEM_WAIT_FAIL;
    return IPC_RC_SUCCESS;
}

int ipc_sem_give(sem_t* sem) {
    return ipc_sem_calls.post(sem) == 0 ? int(IPC_RC_SUCCESS) : int(IPC_RC_SEM_POST_FAIL);
}

namespace {

// Calls fn with the handle's semaphore held.
template <typename... Args>
int with_sem(int (*fn)(int, Args...), int ipc_handle, Args... args) {
    IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    if (const int rc = ipc_sem_take(&reg->sem))
        return rc;
    const int rc = fn(ipc_handle, args...);
    const int given = ipc_sem_give(&reg->sem);
    return given != IPC_RC_SUCCESS ? given : rc;
}

} // namespace

int ipcSend_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                     uint32_t* msg_id) {
    return with_sem(ipcSend_impl, ipc_handle, dest_serv_id, dest_sub_id, msg, size, msg_id);
}

int ipcSendReq_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                        uint32_t* msg_id) {
    return with_sem(ipcSendReq_impl, ipc_handle, dest_serv_id, dest_sub_id, msg, size, msg_id);
}

int ipcSendMcast_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                          void* msg, int size, uint32_t* msg_id) {
    return with_sem(ipcSendMcast_impl, ipc_handle, dest_serv_id, low_sub_id, high_sub_id, msg, size, msg_id);
}

int ipcReply_impl_sem(int ipc_handle, const ipc_header* request, void* msg, int size) {
    return with_sem(ipcReply_impl, ipc_handle, request, msg, size);
}

int ipcSyncSend_impl_sem(int ipc_handle, uint32_t dest_serv_id, uint32_t dest_sub_id, void* msg, int size,
                         void* reply, int reply_size, int timeout, ipc_non_reply_callback_t callback) {
    return with_sem(ipcSyncSend_impl, ipc_handle, dest_serv_id, dest_sub_id, msg, size, reply, reply_size,
                    timeout, callback);
}

int ipc_sync_send_until_sem(int ipc_handle, const ipc_peer& to, const ipc_exchange& exchange) {
    return with_sem<const ipc_peer&, const ipc_exchange&>(ipc_sync_send_until, ipc_handle, to, exchange);
}

int ipc_take_returned_sem(int ipc_handle, ipc_header* hdr, std::span<uint8_t>* msg) {
    return with_sem(ipc_take_returned, ipc_handle, hdr, msg);
}

int ipc_take_arrived_sem(int ipc_handle, ipc_header* hdr, std::span<uint8_t> msg) {
    return with_sem<ipc_header*, std::span<uint8_t>>(ipc_take_arrived, ipc_handle, hdr, msg);
}

int ipcReceive_impl_sem(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned, int timeout) {
    return with_sem(ipcReceive_impl, ipc_handle, hdr, msg, size, returned, timeout);
}

int ipcReceiveNonB_impl_sem(int ipc_handle, ipc_header* hdr, void* msg, int size, int* returned) {
    return with_sem(ipcReceiveNonB_impl, ipc_handle, hdr, msg, size, returned);
}
