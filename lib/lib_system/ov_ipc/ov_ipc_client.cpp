#include "ov_ipc_client.h"

#include "ipcApi.h"
#include "ov_ipc_private.h"

#include <memory>
#include <mutex>
#include <new>
#include <vector>

struct ov_ipc_client_msg_t {
    int type = 0;
    int return_code = 0;
    int server_return_code = 0;
    std::vector<uint8_t> data;
};

namespace {

constexpr int MAX_SLOT = 99; // the next thousand of sub ids would be another scheme's
constexpr int MAX_APP = 999;

// The handle of a name, registered now or before; -1 when it can't be had.
int register_once(uint32_t sub_id, int* handle) {
    if (ipcGetHandleFromServSubId(IPC_SERVICE_MISC, sub_id, handle) == IPC_RC_SUCCESS)
        return 0;
    return ipcRegisterService(IPC_SERVICE_MISC, sub_id, 0, handle) == IPC_RC_SUCCESS ? 0 : -1;
}

int set(ov_ipc_client_msg_t* msg, int ov_ipc_client_msg_t::*field, int value) {
    if (msg == nullptr)
        return -1;
    msg->*field = value;
    return 0;
}

int get(const ov_ipc_client_msg_t* msg, int ov_ipc_client_msg_t::*field) {
    return msg == nullptr ? -1 : msg->*field;
}

} // namespace

int ov_ipc_client_init(int slot, int app) {
    static std::mutex guard;
    const std::lock_guard lock(guard);
    if (slot < 0 || slot > MAX_SLOT || app < 0 || app > MAX_APP)
        return -1;
    int recv_handle = -1;
    int send_handle = -1;
    if (register_once(ov_ipc_private_get_client_recv_subid(uint32_t(slot), uint32_t(app)), &recv_handle) != 0)
        return -1;
    if (register_once(ov_ipc_private_get_client_send_subid(uint32_t(slot), uint32_t(app)), &send_handle) == 0)
        return 0;
    ipcUnregisterService(recv_handle);
    return -1;
}

ov_ipc_client_msg_t* ov_ipc_client_msg_new() {
    return new (std::nothrow) ov_ipc_client_msg_t;
}

void ov_ipc_client_msg_destroy(ov_ipc_client_msg_t* msg) {
    const std::unique_ptr<ov_ipc_client_msg_t> owned(msg);
}

int ov_ipc_client_msg_edit_type(ov_ipc_client_msg_t* msg, int type) {
    return set(msg, &ov_ipc_client_msg_t::type, type);
}

int ov_ipc_client_msg_get_type(const ov_ipc_client_msg_t* msg) {
    return get(msg, &ov_ipc_client_msg_t::type);
}

int ov_ipc_client_msg_edit_data(ov_ipc_client_msg_t* msg, const void* data, int len) {
    if (msg == nullptr || len < 0 || len > OV_IPC_CLIENT_MAX_DATA || (data == nullptr && len > 0))
        return -1;
    const auto* bytes = static_cast<const uint8_t*>(data);
    std::vector<uint8_t>(bytes, bytes + len).swap(msg->data); // data may be the message's own
    return 0;
}

const void* ov_ipc_client_msg_get_data(const ov_ipc_client_msg_t* msg) {
    return msg == nullptr || msg->data.empty() ? nullptr : msg->data.data();
}

int ov_ipc_client_msg_get_data_len(const ov_ipc_client_msg_t* msg) {
    return msg == nullptr ? -1 : int(msg->data.size());
}

int ov_ipc_client_edit_server_return_code(ov_ipc_client_msg_t* msg, int rc) {
    return set(msg, &ov_ipc_client_msg_t::server_return_code, rc);
}

int ov_ipc_client_get_server_return_code(const ov_ipc_client_msg_t* msg) {
    return get(msg, &ov_ipc_client_msg_t::server_return_code);
}

int ov_ipc_client_msg_edit_return_code(ov_ipc_client_msg_t* msg, int rc) {
    return set(msg, &ov_ipc_client_msg_t::return_code, rc);
}

int ov_ipc_client_msg_get_return_code(const ov_ipc_client_msg_t* msg) {
    return get(msg, &ov_ipc_client_msg_t::return_code);
}
