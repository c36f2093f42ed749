#include "ov_product_system.h"

#include <string>

#include "ov_product_log.h"
#include "ov_product_place.h"

namespace {

constexpr int RESTART = 2;

int set_flag(const char* name, int value) {
    return ov_product_env_put(name, std::to_string(value).c_str());
}

} // namespace

int ov_product_fast_save_flag_set(int value) {
    return set_flag("fast_save_flag", value);
}

int ov_product_restore_flag_set(int value) {
    return set_flag("restore_flag", value);
}

int ov_product_reboot_flag_set(int value) {
    return set_flag("reboot_flag", value);
}

int ov_product_reboot() {
    ov_product_reboot_log("restart of the system");
    return ov_product_reboot_flag_set(RESTART);
}
