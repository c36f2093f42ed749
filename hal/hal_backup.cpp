#include "hal_backup.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "hal_sock.h"
#include "libovra.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_types.h"

int g_self_slot = 0;
int g_main_slot_id = 0;
int g_backup_slot_id = 0;

namespace {

// The number that a command prints; 0 when it prints none or fails.
int number_of(const char* command) {
    char text[64];
    return ov_sys_and_result(command, text, sizeof text) == 0 ? atoi(text) : 0;
}

struct BackupMsgDeleter {
    void operator()(backup_msg_s* msg) const { ov_backup_msg_destroy(msg); }
};

} // namespace

int init_hal_backup() {
    if (!ov_product_get_standby_sc_supported())
        return 0;
    g_self_slot = number_of("ov_env_get slot");
    const bool active = number_of("ov_env_get active") != 0;
    const int mate = number_of("ov_env_get mate_slot");
    g_main_slot_id = active ? g_self_slot : mate;
    g_backup_slot_id = active ? mate : g_self_slot;
    OV_LOG_NOTICE("LIB", "g_self_slot: %d, g_main_slot_id: %d, g_backup_slot_id: %d", g_self_slot, g_main_slot_id,
                  g_backup_slot_id);
    return 0;
}

bool need_to_proceed(const hal_nlmsghdr* nlhdr) {
    if (g_backup_slot_id == 0 || g_self_slot == g_backup_slot_id || !ov_product_get_standby_sc_supported())
        return false;
    return nlhdr->nlmsg_pid == 0 || nlhdr->nlmsg_pid == static_cast<uint32_t>(g_main_slot_id);
}

backup_msg_s* ov_backup_msg_new(const hal_nlmsghdr* nlhdr) {
    auto* msg = new (std::nothrow) backup_msg_s{};
    if (msg)
        std::memcpy(static_cast<void*>(msg), nlhdr, std::min<size_t>(nlhdr->nlmsg_len, sizeof *msg));
    return msg;
}

void ov_backup_msg_destroy(backup_msg_s* msg) {
    delete msg;
}

unsigned handle_backup_all_async(backup_msg_s* msg) {
    msg->hdr.nlmsg_pid = static_cast<uint32_t>(g_backup_slot_id);
    return _hal_send_async(&msg->hdr);
}

unsigned hal_backup_async(const hal_nlmsghdr* nlhdr) {
    if (!need_to_proceed(nlhdr))
        return KAVO_OK;
    const std::unique_ptr<backup_msg_s, BackupMsgDeleter> copy(ov_backup_msg_new(nlhdr));
    const unsigned result = copy ? handle_backup_all_async(copy.get()) : KAVO_MEMORY;
    if (result != KAVO_OK)
        OV_LOG_ERROR("LIB", "message type %u not sent to standby slot %d: %u", nlhdr->nlmsg_type.value(),
                     g_backup_slot_id, result);
    return result;
}
