// Names and dumps.
#include "ipcImpl.h"
#include "ov_clock.h"
#include "ov_product_log.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include <sys/time.h>

namespace {

constexpr std::array<const char*, 15> RC_NAMES = {
    // by the negative of the number
    "IPC_RC_SUCCESS",       "IPC_RC_FAILED",        "IPC_RC_INVALID_IDENT",
    "IPC_RC_SND_BUFF_FULL", "IPC_RC_MSG_RTRNED",    "IPC_RC_USER_ABORT",
    "IPC_RC_TIMEOUT",       "IPC_RC_MSG_TOO_LONG",  "IPC_RC_RTRNED_MSG_WAITING",
    "IPC_RC_UNEXPECTED",    "IPC_RC_NO_MESSAGE",    "IPC_RC_SEM_INIT_FAIL",
    "IPC_RC_SEM_WAIT_FAIL", "IPC_RC_SEM_POST_FAIL", "IPC_RC_SEM_DESTROY_FAIL",
};
static_assert(-IPC_RC_SEM_DESTROY_FAIL == int(RC_NAMES.size()) - 1);

constexpr int BYTES_PER_LINE = 16;

} // namespace

const char* ipcGetErrorCodeStr_impl(int rc) {
    if (rc > IPC_RC_SUCCESS || rc < IPC_RC_SEM_DESTROY_FAIL)
        return "IPC RC UNDEFINED!";
    return RC_NAMES[size_t(-rc)];
}

const char* ipcGetMsgTypeStr_impl(uint32_t msg_type) {
    switch (msg_type) {
    case IPC_ASYNC:
        return "IPC_ASYNC";
    case IPC_REQUEST:
        return "IPC_REQUEST";
    case IPC_REPLY:
        return "IPC_REPLY";
    default:
        return "IPC_INVALID";
    }
}

void ipcShowIpcHeader_impl(const ipc_header* hdr) {
    if (hdr == nullptr)
        return;
    OV_LOG_INFO("IPC", "hdr_id 0x%08x ipc_ver %u msg_type %u (%s) sender %u/%u msg_id %u msg_num %u",
                hdr->hdr_id.value(), hdr->ipc_ver.value(), hdr->msg_type.value(),
                ipcGetMsgTypeStr_impl(hdr->msg_type), hdr->sender_serv_id.value(), hdr->sender_sub_id.value(),
                hdr->msg_id.value(), hdr->msg_num.value());
}

void ipcShowIpcMessage_impl(const ipc_header* hdr, const void* msg, int size) {
    ipcShowIpcHeader_impl(hdr);
    if (msg == nullptr)
        return;
    const auto* bytes = static_cast<const uint8_t*>(msg);
    for (int start = 0; start < size; start += BYTES_PER_LINE) {
        std::array<char, 3 * BYTES_PER_LINE + 1> line = {};
        const int end = std::min(size, start + BYTES_PER_LINE);
        for (int at = start; at < end; at++)
            snprintf(&line[size_t(at - start) * 3], 4, " %02x", bytes[at]);
        OV_LOG_INFO("IPC", "%04x:%s", unsigned(start), line.data());
    }
}

const char* ipcTimestamp_impl() {
    static thread_local std::array<char, 32> text;
    const timespec now = ov_wall_now();
    tm parts = {};
    localtime_r(&now.tv_sec, &parts);
    snprintf(text.data(), text.size(), "%02d:%02d:%02d.%06ld", parts.tm_hour % 100, parts.tm_min % 100,
             parts.tm_sec % 100, now.tv_nsec / 1000);
    return text.data();
}
