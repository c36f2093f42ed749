#include "ov_backup.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include <sys/stat.h>

#include "libovra.h"
#include "ov_command.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_slot.h"

bool g_ov_backup_debug = false;

namespace {

constexpr const char* TAG = "OV_BACKUP";
constexpr uint32_t TRANSFER_TIMEOUT = 30000; // microseconds
// File systems of cards from this day on (year, month, day in decimal) let a transfer in without a password.
constexpr long DAY_WITHOUT_PASSWORD = 20171110;

bool shell_says_yes(const char* constant_line) {
    return ov_sys_and_result(constant_line, nullptr, 0) == 0;
}

// ---- this board's address ---------------------------------------------------------------------------------

bool is_in_service(uint32_t slot) {
    return slot != 0 &&
           (slot == ov_product_slot_id_get() || ov_backup_slot_is_in_service(slot) == OV_SUCCESS);
}

// The plane of a control card, 1 or 2.
int plane_of(uint32_t control_card) {
    return control_card == ov_slot_get_sc2_slotId() ? 2 : 1;
}

// 0 between control cards, else the plane of the one that takes part.
int plane_by_slots(uint32_t slot) {
    const uint32_t own = ov_product_slot_id_get();
    if (ov_product_is_slot_sc(own) && ov_product_is_slot_sc(slot))
        return 0;
    return plane_of(ov_product_is_slot_sc(own) ? own : slot);
}

// The plane of the first control card that is in service; -1 when none is.
int plane_by_service() {
    for (const uint32_t control_card : {ov_slot_get_sc1_slotId(), ov_slot_get_sc2_slotId()})
        if (is_in_service(control_card))
            return plane_of(control_card);
    return -1;
}

} // namespace

int ov_backup_get_self_host(uint32_t slot, char* host, size_t size) {
    const bool has_vlan = shell_says_yes("ov_env_get internal_network_vlan | grep -sq 1");
    const int plane = has_vlan ? plane_by_service() : plane_by_slots(slot);
    const int own = static_cast<int>(ov_product_slot_id_get());
    switch (plane) {
    case 0:
        snprintf(host, size, "126.1.0.%d", own);
        return OV_SUCCESS;
    case 1:
        snprintf(host, size, "126.1.1.%d", own);
        return OV_SUCCESS;
    case 2:
        snprintf(host, size, "126.1.2.%d", own);
        return OV_SUCCESS;
    default:
        return OV_FAIL;
    }
}

// ---- what another slot is told ----------------------------------------------------------------------------

namespace {

// One that is longer than a command may be is cut; with what else a command has, it is too long then.
[[gnu::format(printf, 1, 2)]] std::string text_of(const char* format, ...) {
    char text[OV_BACKUP_ARG_SIZE];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return length < 0 ? std::string() : std::string(text);
}

bool is_directory(const char* path, bool& yes) {
    struct stat status {};
    if (stat(path, &status) != 0 || (!S_ISDIR(status.st_mode) && !S_ISREG(status.st_mode)))
        return false;
    yes = S_ISDIR(status.st_mode);
    return true;
}

// " -u USER -p PASSWORD" for a slot that asks for them, empty for one that doesn't. False for words that
// can't stand in a command.
bool credentials_of(uint32_t slot, std::string& words) {
    char day[OV_BACKUP_ARG_SIZE];
    char user[OV_BACKUP_ARG_SIZE];
    char password[OV_BACKUP_ARG_SIZE];
    words.clear();
    if (ov_backup_ask_for_env_value(slot, "ov_rootfs_spec_day", day) != OV_SUCCESS)
        return true;
    char* end = nullptr;
    const long number = strtol(day, &end, 10);
    if (end == day || number >= DAY_WITHOUT_PASSWORD)
        return true;
    if (ov_backup_ask_for_env_value(slot, "ftpuser", user) != OV_SUCCESS ||
        ov_backup_ask_for_env_value(slot, "ftppasswd", password) != OV_SUCCESS || !ov_command_word_ok(user) ||
        !ov_command_word_ok(password))
        return false;
    words = text_of("-u %s -p \"%s\" ", user, password);
    return true;
}

// The two kinds of transfer, up to the host.
using Fetch = std::string(const char* host);
std::string fetch_and_test(const char* host) {
    return text_of("ov_backup_get_and_test -h %s ", host);
}
std::string fetch_alone(const char* host) {
    return text_of("ov_get -m ncftp -h %s ", host);
}

// The command that fetches `source`; empty when there is none.
std::string command_of(Fetch* fetch, uint32_t slot, const ov_backup_src_path_t& source, const char* path) {
    const std::string text = source.text;
    const size_t colon = text.find(':');
    if (colon == text.npos)
        return "";
    const std::string host = text.substr(0, colon);
    const std::string remote = text.substr(colon + 1);
    std::string credentials;
    bool whole_directory = false;
    if (!ov_command_word_ok(host) || !ov_command_word_ok(remote) || !ov_command_word_ok(path) ||
        !is_directory(remote.c_str(), whole_directory) || !credentials_of(slot, credentials))
        return "";
    const std::string paths = whole_directory ? text_of("-l %s -r %s -R", path, remote.c_str())
                                              : text_of("-l %s -r %s", path, remote.c_str());
    const std::string command = fetch(host.c_str()) + credentials + paths;
    return command.size() < OV_BACKUP_ARG_SIZE ? command : "";
}

int inform_slot(Fetch* fetch, uint32_t slot, const ov_backup_src_path_t& source, const char* path) {
    const std::string command = command_of(fetch, slot, source, path);
    const int result = command.empty()
                           ? OV_FAIL
                           : ov_backup_execute_cmd(slot, command.c_str(), nullptr, 0, TRANSFER_TIMEOUT);
    if (result != OV_SUCCESS)
        OV_LOG_ERROR(TAG, "execute_cmd failed");
    return result;
}

} // namespace

int ov_backup_inform_slot_ftpget_and_test(uint32_t /*own_slot*/, uint32_t slot,
                                          const ov_backup_src_path_t& source, const char* path) {
    return inform_slot(fetch_and_test, slot, source, path);
}

int ov_backup_inform_slot_ftpget(uint32_t /*own_slot*/, uint32_t slot, const ov_backup_src_path_t& source,
                                 const char* path) {
    return inform_slot(fetch_alone, slot, source, path);
}

int ov_backup_save_path_to_slot(uint32_t slot, const char* path) {
    char host[OV_BACKUP_HOST_SIZE];
    if (path == nullptr || ov_backup_get_self_host(slot, host, sizeof host) != OV_SUCCESS)
        return OV_FAIL;
    bool directory = false;
    if (!is_directory(path, directory)) {
        if (g_ov_backup_debug)
            OV_LOG_DEBUG(TAG, "Invalid path %s", path);
        return OV_FAIL;
    }
    ov_backup_src_path_t source;
    const int length = snprintf(source.text, sizeof source.text, "%s:%s", host, path);
    if (length < 0 || static_cast<size_t>(length) >= sizeof source.text)
        return OV_FAIL;
    return ov_backup_inform_slot_ftpget_and_test(ov_product_slot_id_get(), slot, source, path);
}

// ---- to the standby ---------------------------------------------------------------------------------------

int ov_backup_sync_path_to_backup_sc(const char* path) {
    static std::mutex one_transfer;
    const std::lock_guard lock(one_transfer);
    if (path == nullptr)
        return OV_FAIL;
    if (!shell_says_yes("ov_env_get active | grep -q 1"))
        return OV_UNAVAILABLE;
    if (g_shelf_slot_info.standbyScAlive == 0) {
        OV_LOG_INFO(TAG, "the backup slot is not there");
        return OV_UNAVAILABLE;
    }
    ov_sys_and_result("ov_env_put backup_file_sync_fin 0", nullptr, 0);
    const int result = ov_backup_save_path_to_slot(ov_product_get_mate_sc_slot_id(), path);
    ov_sys_and_result("ov_env_put backup_file_sync_fin 1", nullptr, 0);
    return result;
}
