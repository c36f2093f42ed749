// Requests to the platform's server on another slot.
#include "ov_backup.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string_view>

#include <poll.h>

#include "ipcApi.h"
#include "libovra.h"
#include "ov_clock.h"
#include "ov_ipc_client.h"
#include "ov_ipc_private.h"
#include "ov_product.h"

namespace {

using namespace std::chrono;

constexpr uint32_t DEFAULT_TIMEOUT = 1000000; // microseconds

struct Request {
    char ipc[IPC_HDR_SIZE]; // the carrier's
    ov_backup_head_t head;
    ov_backup_s body;
};
struct Answer {
    ov_backup_head_t head;
    char text[OV_IPC_CLIENT_MAX_DATA];
};

// The names of this process, one to send with and one to receive.
struct Client {
    int send = -1;
    int receive = -1;

    bool open() {
        const uint32_t slot = ov_product_slot_id_get();
        const auto app = static_cast<uint32_t>(ov_get_app_id());
        return ov_ipc_client_init(static_cast<int>(slot), static_cast<int>(app)) == 0 &&
               handle_of(ov_ipc_private_get_client_send_subid(slot, app), send) &&
               handle_of(ov_ipc_private_get_client_recv_subid(slot, app), receive);
    }

private:
    static bool handle_of(uint32_t sub_id, int& handle) {
        return ipcGetHandleFromServSubId(IPC_SERVICE_MISC, sub_id, &handle) == IPC_RC_SUCCESS;
    }
};

bool wait_readable(int handle, ov_mono_time_t deadline) {
    const auto left = duration_cast<milliseconds>(deadline - ov_wait_now());
    pollfd fd = {ipcGetReadFd(handle), POLLIN, 0};
    return poll(&fd, 1, static_cast<int>(std::max<int64_t>(left.count() + 1, 0))) > 0;
}

// Takes messages until the answer to a request comes, and passes over those to others, which came too late.
// Gives the bytes of its text; -1 when it doesn't come.
int receive_answer(const Client& client, uint32_t id, ov_mono_time_t deadline, Answer& answer) {
    while (ov_wait_now() < deadline) {
        if (!wait_readable(client.receive, deadline))
            continue;
        ipc_header header = {};
        int returned = 0;
        const int length = ipcReceiveNonB(client.receive, &header, &answer, sizeof answer, &returned);
        if (length < static_cast<int>(sizeof answer.head) || returned != 0 || header.msg_type != IPC_REPLY ||
            header.msg_id != id)
            continue;
        const int text = std::min<int>(length, sizeof answer) - static_cast<int>(sizeof answer.head);
        return std::clamp<int>(answer.head.data_len, 0, text);
    }
    return OV_FAIL;
}

void copy_text(const char* text, int length, char* result, size_t size) {
    if (result == nullptr || size == 0)
        return;
    const size_t copied = std::min(strnlen(text, static_cast<size_t>(length)), size - 1);
    memcpy(result, text, copied);
    result[copied] = '\0';
}

// One request with one argument. What was asked for is the code of the server.
int ask(uint32_t slot, ov_backup_e type, const char* arg, char* result, size_t size, uint32_t timeout) {
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    copy_text("", 0, result, size);
    Request request = {};
    Client client;
    if (arg == nullptr || strlen(arg) >= OV_BACKUP_ARG_SIZE || !client.open())
        return OV_FAIL;
    request.head.type = type;
    request.head.data_len = sizeof request.body;
    request.body.type = type;
    snprintf(request.body.arg_1, sizeof request.body.arg_1, "%s", arg);
    request.body.arg_1_len = static_cast<int32_t>(strlen(arg));
    const auto deadline = ov_wait_now() + microseconds(timeout != 0 ? timeout : DEFAULT_TIMEOUT);
    uint32_t id = 0;
    if (ipcSendReq(client.send, IPC_SERVICE_MISC, ov_ipc_private_get_server_recv_subid(slot), &request.head,
                   sizeof request.head + sizeof request.body, &id) != IPC_RC_SUCCESS)
        return OV_FAIL;
    Answer answer = {};
    const int length = receive_answer(client, id, deadline, answer);
    if (length < 0 || answer.head.return_code != 0)
        return OV_FAIL;
    copy_text(answer.text, length, result, size);
    return answer.head.server_return_code;
}

} // namespace

int ov_backup_execute_cmd(uint32_t slot, const char* cmd, char* result, size_t result_len, uint32_t timeout) {
    return ask(slot, execute_cmd, cmd, result, result_len, timeout);
}

int ov_backup_slot_is_in_service(uint32_t slot) {
    return ov_backup_execute_cmd(slot, "pwd", nullptr, 0, 0);
}

int ov_backup_ask_for_env_value(uint32_t slot, const char* name, char* value) {
    const int result = ask(slot, ask_for_env_value, name, value, OV_BACKUP_ARG_SIZE, 0);
    if (result != OV_SUCCESS)
        value[0] = '\0';
    return result;
}
