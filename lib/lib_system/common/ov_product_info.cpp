#include "ov_product_info.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "libovra.h"
#include "ov_clock.h"
#include "ov_product.h"
#include "ov_product_log.h"

namespace {

constexpr std::array KEYS = {
    // product
    "PDT_INFO_ENTERPRISE_ID",
    "PDT_INFO_PDT_DESC",
    "PDT_INFO_PDT_MODEL",
    "PDT_INFO_PDT_NAME",
    "PDT_INFO_PDT_TYPE",
    "PDT_INFO_VENDER_CONTACT",
    "PDT_INFO_VENDER_COPYRIGHT",
    "PDT_INFO_VENDER_HW_VER",
    "PDT_INFO_VENDER_LOCATION",
    "PDT_INFO_VENDER_PDT_NAME",
    "PDT_INFO_VENDER_SW_VER",
    // shelf
    "PDT_INFO_SHELF_ID",
    "PDT_INFO_SHELF_NAME",
    "PDT_INFO_SHELF_TYPE",
    // this board
    "PDT_INFO_CARD_CPLD",
    "PDT_INFO_CARD_GPON_CHIP",
    "PDT_INFO_CARD_HW",
    "PDT_INFO_CARD_LABEL",
    "PDT_INFO_CARD_MAC",
    "PDT_INFO_CARD_NAME",
    "PDT_INFO_CARD_PN",
    "PDT_INFO_CARD_SLOTID",
    "PDT_INFO_CARD_SN",
    "PDT_INFO_CARD_SWITCH_CHIP",
    "PDT_INFO_CARD_TYPE",
    "PDT_INFO_CARD_WORKING_RULE",
    // the running load
    "PDT_INFO_APP_BOOT_REASON",
    "PDT_INFO_APP_BOOT_REASON_STR",
    "PDT_INFO_RUN_LOAD_FILENAME",
    // boot loader and kernel
    "BSP_UBOOT_INFO",
    "BSP_UBOOT_VER",
    "BSP_RCW_INFO_00",
    "BSP_RCW_INFO_10",
    "BSP_RCW_INFO_20",
    "BSP_RCW_INFO_30",
    "BSP_RCW_MD5SUM",
    "BSP_DTB_INFO",
    "BSP_DTB_VER",
    "BSP_KERNEL_INFO",
    "BSP_KERNEL_VER",
    "BSP_ROOTFS_INFO",
    "BSP_ROOTFS_VER",
    // management ports
    "MGMT_CTRL_PORT_DEF_IP",
    "MGMT_CTRL_PORT_DEV_NAME",
    "MGMT_CTRL_PORT_GW_IP",
    "MGMT_CTRL_PORT_IP",
    "MGMT_CTRL_PORT_NAME",
    "MGMT_DIAG_PORT_DEF_IP",
    "MGMT_DIAG_PORT_DEV_NAME",
    "MGMT_DIAG_PORT_IP",
    "MGMT_DIAG_PORT_NAME",
    "MGMT_PORT_CFG_FILE",
};
static_assert(KEYS.size() == OV_PRODUCT_INFO_KEY_NUM);

std::mutex g_record_mutex;
ov_product_info_cb_s g_product_info; // guarded by it until it is filled
std::mutex g_cost_mutex;
ov_product_env_cost g_env_cost; // guarded by it

} // namespace

// ---- single look-ups -----------------------------------------------------------------------------------

ov_product_env_cost ov_product_env_cost_get() {
    const std::lock_guard lock(g_cost_mutex);
    return g_env_cost;
}

namespace {

void count_env_cost(uint32_t lookups, ov_mono_time_t start) {
    const auto spent = ov_mono_now() - start;
    const std::lock_guard lock(g_cost_mutex);
    g_env_cost.lookups += lookups;
    g_env_cost.usec += uint64_t(std::chrono::duration_cast<std::chrono::microseconds>(spent).count());
}

// Copies a value that was looked up (null: it isn't set), or empties the buffer and says why.
bool take_env_text(const char* key, const char* value, char* buf, size_t len) {
    buf[0] = '\0';
    if (value == nullptr) {
        OV_LOG_WARN("LIB", "Failed to get env %s", key);
        return false;
    }
    const size_t value_len = strlen(value);
    if (value_len >= len) {
        OV_LOG_ERROR("LIB", "ENV %s value %s length %d too big than %d.", key, value, int(value_len),
                     int(len - 1));
        return false;
    }
    memcpy(buf, value, value_len + 1);
    return true;
}

// What stands around the values that one shell prints: bytes that no text has.
constexpr char HEAD = '\x1e';
constexpr char END = '\x1f';

// All keys with one shell, which runs ov_env_get for each: a shell for each key would double the time that
// the start takes. Gives HEAD "KEY=" for each key, and behind it, when the key is set, what ov_env_get prints
// and END. The shell passes no value through its own hands: some change backslashes.
std::string read_all_keys() {
    constexpr size_t OUTPUT_SIZE = size_t{128} * 1024;
    std::string command = "for key in";
    for (const char* key : KEYS)
        command.append(" ").append(key);
    command += "; do printf '\\036%s=' $key; ov_env_get $key && printf '\\037'; done";
    std::string output(OUTPUT_SIZE, '\0');
    const auto start = ov_mono_now();
    ov_sys_and_result(command.c_str(), output.data(), output.size()); // its status is that of the last key
    count_env_cost(OV_PRODUCT_INFO_KEY_NUM, start);
    output.resize(strlen(output.c_str()));
    return output;
}

// The value of a key, without the line feed that ends the tool's output, or nothing.
std::optional<std::string> value_of_key(const std::string& output, const std::string& key) {
    const std::string head = HEAD + key + "=";
    const size_t found = output.find(head);
    const size_t at = found + head.size();
    const size_t end = found != std::string::npos ? output.find_first_of({HEAD, END}, at) : found;
    if (end == std::string::npos || output[end] != END)
        return std::nullopt;
    const bool has_line_feed = end > at && output[end - 1] == '\n';
    return output.substr(at, end - at - (has_line_feed ? 1 : 0));
}

} // namespace

bool ov_product_env_lookup(const char* key, char* buf, size_t len) {
    const auto start = ov_mono_now();
    const bool found = ov_sys_and_result_with_var(buf, len, "ov_env_get %s", key) == 0;
    count_env_cost(1, start);
    if (!found && len > 0)
        buf[0] = '\0';
    return found;
}

bool ov_product_env_lookup_text(const char* key, char* buf, size_t len) {
    char value[1024]; // enough to show a value that is too long
    return take_env_text(key, ov_product_env_lookup(key, value, sizeof value) ? value : nullptr, buf, len);
}

uint32_t ov_product_number_of_text(const char* text, uint32_t fallback) {
    while (isspace(static_cast<unsigned char>(*text)) != 0)
        text++;
    if (isdigit(static_cast<unsigned char>(*text)) == 0)
        return fallback;
    uint64_t number = 0;
    for (; isdigit(static_cast<unsigned char>(*text)) != 0; text++)
        number = std::min<uint64_t>(number * 10 + uint64_t(*text - '0'), UINT32_MAX);
    return uint32_t(number);
}

// ---- the record ----------------------------------------------------------------------------------------

void ov_product_info_init() {
    const std::lock_guard lock(g_record_mutex);
    if (g_product_info.filled != 0)
        return;
    const std::string output = read_all_keys();
    for (size_t i = 0; i < OV_PRODUCT_INFO_KEY_NUM; i++) {
        const std::optional<std::string> value = value_of_key(output, KEYS[i]);
        take_env_text(KEYS[i], value ? value->c_str() : nullptr, g_product_info.text[i],
                      OV_PRODUCT_INFO_TEXT_SIZE);
    }
    g_product_info.filled = 1;
}

void ov_product_info_deinit() {
    g_product_info = {};
    g_env_cost = {};
}

const char* ov_product_info_key(size_t position) {
    return position < KEYS.size() ? KEYS[position] : nullptr;
}

const char* ov_product_info_get(const char* key) {
    ov_product_info_init();
    const auto* found = std::find(KEYS.begin(), KEYS.end(), std::string_view(key));
    return found != KEYS.end() ? g_product_info.text[found - KEYS.begin()] : "";
}

uint32_t ov_product_info_get_number(const char* key, uint32_t fallback) {
    return ov_product_number_of_text(ov_product_info_get(key), fallback);
}
