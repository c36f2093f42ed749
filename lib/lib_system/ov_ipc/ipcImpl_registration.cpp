// The table of registrations.
#include "ipcImpl.h"
#include "ov_product_log.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

std::array<IPC_service_reg_st, IPC_MAX_SERVICE_REGS> IPC_service_reg_data;
sem_t IPC_global_sem;
int IPC_num_service_regs;

namespace {

int open_sockets(uint32_t serv_id, uint32_t sub_id, IPC_service_reg_st& reg) {
    int error = wi_ipc_register(serv_id, sub_id, reg.sockets);
    if (error == 0) {
        error = ipcSetSocketOpts(reg);
        if (error != 0)
            wi_ipc_unregister(reg.sockets);
    }
    if (error != 0)
        OV_LOG_ERROR("IPC", "Registration of service %u, sub id %u failed: %s", serv_id, sub_id,
                     strerror(error));
    return error;
}

void seed_message_ids(uint32_t seed) {
    static std::once_flag seeded;
    std::call_once(seeded, [seed] { srand(seed); });
}

int register_in(IPC_service_reg_st& reg, int handle, uint32_t serv_id, uint32_t sub_id) {
    if (open_sockets(serv_id, sub_id, reg) != 0)
        return IPC_RC_FAILED;
    if (ipc_sem_calls.init(&reg.sem, 0, 1) != 0) {
        wi_ipc_unregister(reg.sockets);
        return IPC_RC_SEM_INIT_FAIL;
    }
    reg.serv_id = serv_id;
    reg.sub_id = sub_id;
    reg.ipc_handle = handle;
    IPC_num_service_regs++;
    seed_message_ids(serv_id + sub_id);
    if (ipc_debug_level_now >= IPC_PORT_DEBUG)
        OV_LOG_DEBUG("IPC", "Registered service %u, sub id %u as handle %d", serv_id, sub_id, handle);
    return IPC_RC_SUCCESS;
}

int register_anywhere(uint32_t serv_id, uint32_t sub_id, int* ipc_handle) {
    if (IPC_num_service_regs >= IPC_MAX_SERVICE_REGS)
        return IPC_RC_FAILED;
    for (int handle = 0; handle < IPC_MAX_SERVICE_REGS; handle++) {
        IPC_service_reg_st& reg = IPC_service_reg_data[size_t(handle)];
        if (reg.ipc_handle != -1)
            continue;
        const int rc = register_in(reg, handle, serv_id, sub_id);
        if (rc == IPC_RC_SUCCESS)
            *ipc_handle = handle;
        return rc;
    }
    return IPC_RC_FAILED;
}

int unregister(int ipc_handle) {
    IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    reg->ipc_handle = -1;
    IPC_num_service_regs--;
    wi_ipc_unregister(reg->sockets);
    return ipc_sem_calls.destroy(&reg->sem) == 0 ? int(IPC_RC_SUCCESS) : int(IPC_RC_SEM_DESTROY_FAIL);
}

int modify(int ipc_handle, uint32_t serv_id, uint32_t sub_id) {
    IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    if (reg->serv_id == serv_id && reg->sub_id == sub_id)
        return IPC_RC_SUCCESS;
    IPC_service_reg_st renamed;
    if (open_sockets(serv_id, sub_id, renamed) != 0)
        return IPC_RC_FAILED;
    wi_ipc_move(reg->sockets, renamed.sockets);
    reg->serv_id = serv_id;
    reg->sub_id = sub_id;
    return IPC_RC_SUCCESS;
}

int find(uint32_t serv_id, uint32_t sub_id, int* ipc_handle) {
    for (const IPC_service_reg_st& reg : IPC_service_reg_data) {
        if (reg.ipc_handle == -1 || reg.serv_id != serv_id || reg.sub_id != sub_id)
            continue;
        *ipc_handle = reg.ipc_handle;
        return IPC_RC_SUCCESS;
    }
    return IPC_RC_INVALID_IDENT;
}

// Runs an operation on the table with IPC_global_sem held.
template <typename Operation>
int on_table(Operation operation) {
    if (const int rc = ipc_init())
        return rc;
    if (const int rc = ipc_sem_take(&IPC_global_sem))
        return rc;
    const int rc = operation();
    const int given = ipc_sem_give(&IPC_global_sem);
    return rc != IPC_RC_SUCCESS ? rc : given;
}

} // namespace

int ipc_init() {
    static std::mutex guard;
    static bool done = false;
    const std::lock_guard lock(guard);
    if (done)
        return IPC_RC_SUCCESS;
    if (ipc_sem_calls.init(&IPC_global_sem, 0, 1) != 0)
        return IPC_RC_SEM_INIT_FAIL;
    for (IPC_service_reg_st& reg : IPC_service_reg_data)
        reg.ipc_handle = -1;
    ipcResetStats_impl();
    done = true;
    return IPC_RC_SUCCESS;
}

IPC_service_reg_st* ipc_registration(int ipc_handle) {
    if (ipc_handle < 0 || ipc_handle >= IPC_MAX_SERVICE_REGS)
        return nullptr;
    IPC_service_reg_st& reg = IPC_service_reg_data[size_t(ipc_handle)];
    return reg.ipc_handle == ipc_handle ? &reg : nullptr;
}

int ipcSetSocketOpts(const IPC_service_reg_st& reg) {
    return reg.sockets.carrier->set_options(reg.sockets);
}

int ipcRegisterService_impl(uint32_t serv_id, uint32_t sub_id, uint32_t /*flags*/, int* ipc_handle) {
    if (ipc_handle == nullptr)
        return IPC_RC_FAILED;
    return on_table([&] { return register_anywhere(serv_id, sub_id, ipc_handle); });
}

int ipcUnregisterService_impl(int ipc_handle) {
    return on_table([&] { return unregister(ipc_handle); });
}

int ipcModifyService_impl(int ipc_handle, uint32_t serv_id, uint32_t sub_id, uint32_t /*flags*/) {
    return on_table([&] { return modify(ipc_handle, serv_id, sub_id); });
}

int ipcGetHandleFromServSubId_impl(uint32_t serv_id, uint32_t sub_id, int* ipc_handle) {
    if (ipc_handle == nullptr)
        return IPC_RC_FAILED;
    return on_table([&] { return find(serv_id, sub_id, ipc_handle); });
}

int ipcGetReadFd_impl(int ipc_handle) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    return reg == nullptr ? int(IPC_RC_INVALID_IDENT) : reg->sockets.rcv_sock;
}

int ipcGetQueueDepth_impl(int ipc_handle, uint32_t* depth) {
    const IPC_service_reg_st* reg = ipc_registration(ipc_handle);
    if (reg == nullptr)
        return IPC_RC_INVALID_IDENT;
    if (depth == nullptr || reg->sockets.carrier->queue_depth(reg->sockets, *depth) != 0)
        return IPC_RC_FAILED;
    return IPC_RC_SUCCESS;
}
