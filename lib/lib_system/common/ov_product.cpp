#include "ov_product.h"

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "libovra.h"
#include "ov_clock.h"
#include "ov_product_info.h"
#include "ov_product_log.h"
#include "ov_shelf_layout.h"

namespace {

constexpr uint32_t ENTERPRISE_ID_MASK = 0xFFFFFF;
constexpr uint32_t DEFAULT_SHELF_ID = 1;
constexpr char LOOPBACK_ADDRESS[] = "127.0.0.1";

// What is asked on every message, worked out of the product record once.
struct ProductFacts {
    uint32_t enterprise_id;
    uint32_t shelf_type;
    uint32_t shelf_id;
    uint32_t slot_id;
    uint32_t product_type;
};

// What is kept of answers is guarded by these: any thread may ask.
std::mutex g_facts_mutex;
std::mutex g_paths_mutex;
std::mutex g_ha_recovery_mutex;

std::atomic<const ProductFacts*> g_facts{nullptr}; // never changed once they are known

ProductFacts read_facts() {
    ProductFacts facts{};
    facts.enterprise_id = ov_product_info_get_number("PDT_INFO_ENTERPRISE_ID", 0) & ENTERPRISE_ID_MASK;
    if (facts.enterprise_id == 0)
        facts.enterprise_id = OV_DEFAULT_ENTERPRISE_ID;

    // Numbers that name nothing count as not set.
    facts.shelf_type = ov_product_info_get_number("PDT_INFO_SHELF_TYPE", OV_SHELF_TYPE_SINGLE);
    if (!ov_shelf_type_is_known(facts.shelf_type))
        facts.shelf_type = OV_SHELF_TYPE_SINGLE;
    const bool single = facts.shelf_type == OV_SHELF_TYPE_SINGLE;

    facts.shelf_id = ov_product_info_get_number("PDT_INFO_SHELF_ID", DEFAULT_SHELF_ID);
    facts.slot_id = ov_product_info_get_number("PDT_INFO_CARD_SLOTID", 0);
    if (ov_slot_bit(facts.slot_id) == 0)
        facts.slot_id = ov_shelf_layout_get(facts.shelf_type).config.sc1_slot_id;

    facts.product_type = ov_product_info_get_number("PDT_INFO_PDT_TYPE", 0);
    if (facts.product_type != OV_PRODUCT_TYPE_UNIT && facts.product_type != OV_PRODUCT_TYPE_CHASSIS)
        facts.product_type = single ? OV_PRODUCT_TYPE_UNIT : OV_PRODUCT_TYPE_CHASSIS;
    return facts;
}

const ProductFacts& facts() {
    if (const ProductFacts* known = g_facts.load(std::memory_order_acquire))
        return *known;
    const std::lock_guard lock(g_facts_mutex);
    if (g_facts.load(std::memory_order_relaxed) == nullptr)
        g_facts.store(new ProductFacts(read_facts()), std::memory_order_release);
    return *g_facts.load(std::memory_order_relaxed);
}

const ov_shelf_layout& layout() {
    return ov_shelf_layout_get(facts().shelf_type);
}

uint32_t this_board_if_0(uint32_t slotid) {
    return slotid != 0 ? slotid : facts().slot_id;
}

bool is_single_board_here(uint32_t slotid) {
    return ov_product_is_slot_1u() && slotid == facts().slot_id;
}

// ---- the flag file of a switch-over's recovery -------------------------------------------------------

// The file's name, asked of the platform until it has one, but not for every message.
class HaRecoveryFlagFile {
public:
    // Null while the platform has no name for it.
    const char* name() {
        const auto now = ov_mono_now();
        if (name_.empty() && (!asked_ || now - *asked_ >= std::chrono::seconds(1))) {
            asked_ = now;
            char text[PATH_MAX];
            if (ov_product_env_lookup_text("OV_APP_FLAG_FILE_HA_RECOVERY", text, sizeof text))
                name_ = text;
        }
        return name_.empty() ? nullptr : name_.c_str();
    }

private:
    std::string name_;
    std::optional<ov_mono_time_t> asked_;
};

HaRecoveryFlagFile g_ha_recovery_flag_file;

// The first character of the flag file, read anew only when the file has changed: every message to a card
// asks. A file that nobody has touched for a while is looked at once in a tick of the kernel's clock (1 to 10
// ms): a replay is tens of thousands of messages on end.
class FlagFileReader {
public:
    char first_character(const char* path) {
        const timespec tick = now_in_ticks();
        if (settled_ && tick.tv_sec == looked_.tv_sec && tick.tv_nsec == looked_.tv_nsec)
            return character_;
        looked_ = tick;
        struct stat now {};
        if (stat(path, &now) != 0) {
            seen_ = {};
            settled_ = false;
            return '\0';
        }
        settled_ = same_file(now, tick);
        if (!settled_) {
            character_ = read_first(path);
            seen_ = now;
        }
        return character_;
    }

private:
    static timespec now_in_ticks() {
        timespec tick{};
        clock_gettime(CLOCK_REALTIME_COARSE, &tick);
        return tick;
    }
    bool same_file(const struct stat& now, const timespec& tick) const {
        return now.st_ino == seen_.st_ino && now.st_dev == seen_.st_dev && now.st_size == seen_.st_size &&
               now.st_mtim.tv_sec == seen_.st_mtim.tv_sec && now.st_mtim.tv_nsec == seen_.st_mtim.tv_nsec &&
               now.st_ctim.tv_sec == seen_.st_ctim.tv_sec && now.st_ctim.tv_nsec == seen_.st_ctim.tv_nsec &&
               !is_fresh(now, tick);
    }
    // A file that was just written may change again within one tick of the file system's clock.
    static bool is_fresh(const struct stat& now, const timespec& tick) {
        const int64_t age =
            (tick.tv_sec - now.st_ctim.tv_sec) * int64_t{1000000000} + tick.tv_nsec - now.st_ctim.tv_nsec;
        return age < 100000000;
    }
    static char read_first(const char* path) {
        const int fd = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (fd < 0)
            return '\0';
        char character = '\0';
        if (read(fd, &character, 1) != 1)
            character = '\0';
        close(fd);
        return character;
    }

    struct stat seen_ {};
    timespec looked_{};
    bool settled_ = false; // the file was the same at the last look, and old enough to stay so
    char character_ = '\0';
};

FlagFileReader g_ha_recovery_flag;

bool is_ipv4_address(const char* text) {
    in_addr address{};
    return inet_pton(AF_INET, text, &address) == 1;
}

std::string g_onu_version_path;
std::string g_internal_address;

} // namespace

void ov_product_deinit() {
    ov_product_info_deinit();
    delete g_facts.exchange(nullptr);
    g_ha_recovery_flag_file = {};
    g_ha_recovery_flag = {};
    g_onu_version_path.clear();
    g_internal_address.clear();
}

// ---- flags of the platform, asked anew at each call --------------------------------------------------

bool ov_product_mono_ready_flag_get() {
    return ov_sys_and_result("ov_env_get mono_ready | grep -q 1", nullptr, 0) == 0;
}

bool ov_product_sys_oper_status_get() {
    return ov_sys_and_result("ov_env_get OV_APP_FLAG_SYS_OPSTATUS | grep -q 1", nullptr, 0) == 0;
}

bool ov_product_ha_recoverying_flag_get() {
    const std::lock_guard lock(g_ha_recovery_mutex);
    const char* path = g_ha_recovery_flag_file.name();
    return path != nullptr && g_ha_recovery_flag.first_character(path) == '1';
}

int ov_product_sc_active_flag_get() {
    if (ov_product_is_slot_1u())
        return 1;
    char text[OV_PRODUCT_INFO_TEXT_SIZE];
    ov_product_env_lookup("active", text, sizeof text);
    return ov_product_number_of_text(text, 0) != 0 ? 1 : 0;
}

uint32_t ov_product_get_mate_sc_slot_id() {
    char text[OV_PRODUCT_INFO_TEXT_SIZE];
    if (ov_sys_and_result("ov_env_get mate_slot", text, sizeof text) != 0)
        return 0;
    const uint32_t slot = ov_product_number_of_text(text, 0);
    return ov_slot_bit(slot) != 0 ? slot : 0;
}

// ---- facts of the product ----------------------------------------------------------------------------

uint32_t ov_product_enterprise_id_get() {
    return facts().enterprise_id;
}

uint32_t ov_product_get_shelf_type() {
    return facts().shelf_type;
}

uint32_t ov_product_get_product_type() {
    return facts().product_type;
}

uint32_t ov_product_shelf_id_get() {
    return facts().shelf_id;
}

uint32_t ov_product_slot_id_get() {
    return facts().slot_id;
}

int ov_product_get_standby_sc_supported() {
    return layout().config.sc2_slot_id != 0 ? 1 : 0;
}

const char* ov_product_get_sysinfo_product_vender() {
    return ov_product_info_get("PDT_INFO_VENDER_PDT_NAME");
}

const char* ov_product_get_sysinfo_product_name() {
    return ov_product_info_get("PDT_INFO_PDT_NAME");
}

const char* ov_product_sn_get() {
    return ov_product_info_get("PDT_INFO_CARD_SN");
}

// ---- roles of slots ----------------------------------------------------------------------------------

bool ov_product_is_slot_1u() {
    return facts().shelf_type == OV_SHELF_TYPE_SINGLE;
}

bool ov_product_is_slot_lc(uint32_t slotid) {
    const uint32_t slot = this_board_if_0(slotid);
    return is_single_board_here(slot) || (layout().line_cards & ov_slot_bit(slot)) != 0;
}

bool ov_product_is_slot_sc(uint32_t slotid) {
    const uint32_t slot = this_board_if_0(slotid);
    return is_single_board_here(slot) || (layout().control_cards & ov_slot_bit(slot)) != 0;
}

bool ov_product_is_slot_uplink(uint32_t slotid) {
    return (layout().uplink_cards & ov_slot_bit(slotid)) != 0;
}

bool ov_product_if_slot_contain_pon_port(uint32_t slotid) {
    return ov_product_is_slot_1u() ? is_single_board_here(slotid) : ov_product_is_slot_lc(slotid);
}

// ---- addresses and files -----------------------------------------------------------------------------

const char* ov_product_get_sc_internal_ip_addr() {
    if (ov_product_is_slot_1u() || !ov_product_is_slot_sc(0))
        return LOOPBACK_ADDRESS;
    const std::lock_guard lock(g_paths_mutex);
    if (g_internal_address.empty()) {
        char text[OV_PRODUCT_INFO_TEXT_SIZE];
        if (!ov_product_env_lookup_text("qcx9_self", text, sizeof text) || !is_ipv4_address(text))
            return LOOPBACK_ADDRESS;
        g_internal_address = text;
    }
    return g_internal_address.c_str();
}

const char* ov_product_pdt_ini_file() {
    return getenv("OV_ENV_PDT_INI_FILE");
}

const char* ov_product_pm_ini_file() {
    return getenv("OV_ENV_PM_INI_FILE");
}

const char* ov_product_onu_version_path_get() {
    const std::lock_guard lock(g_paths_mutex);
    if (g_onu_version_path.empty()) {
        const char* path = getenv("OV_ENV_ONU_VERSION_DIR");
        if (path == nullptr || *path == '\0') {
            fputs("OV_ENV_ONU_VERSION_DIR was not declared \n", stderr);
            return nullptr;
        }
        g_onu_version_path = path;
    }
    return g_onu_version_path.c_str();
}
