// Actions on the system itself, on a port's configuration and on the firmware files of ONUs. All are short
// but the clear of a port, which goes on in steps of the loop.
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "app_index.h"
#include "app_key.h"
#include "mmg_definition.h"
#include "ov_app_gpon_action_type.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_app_gpon_port_config.h"
#include "ov_product_load.h"
#include "ov_product_log.h"
#include "ov_product_place.h"
#include "ov_product_system.h"
#include "ov_system.h"

namespace {

constexpr char LOG_TAG[] = "MMG";
constexpr int LISTED_BYTES = 1024; // of the names of firmware files
constexpr int SHOWN_NAMES = 5;

ActionEnd end_of(int result) {
    return result == 0 ? ActionEnd::DONE : ActionEnd::FAILED;
}

// Calls `each` with the words of a text that blanks divide, as many as there are.
template <typename Each>
int for_each_word(std::string_view text, Each each) {
    int count = 0;
    for (size_t begin = text.find_first_not_of(' '); begin != std::string_view::npos;
         begin = text.find_first_not_of(' ', begin)) {
        const size_t end = std::min(text.find(' ', begin), text.size());
        each(++count, std::string(text.substr(begin, end - begin)));
        begin = end;
    }
    return count;
}

// Where a card keeps the file, it is to forget it too.
void tell_cards(const char* version) {
    ov_gpon_onu_update_attr_t gone = {};
    std::strncpy(gone.versionName, version, sizeof gone.versionName - 1);
    ov_app_gpon_onu_version_delete(&gone);
}

} // namespace

ActionEnd action_save_config(ActionRow& /*row*/) {
    return end_of(ov_product_fast_save_flag_set(1));
}

ActionEnd action_config_to_default(ActionRow& /*row*/) {
    return end_of(ov_product_restore_flag_set(1));
}

ActionEnd action_reboot(ActionRow& /*row*/) {
    return end_of(ov_product_reboot_flag_set(2));
}

ActionEnd action_debug_level(ActionRow& row) {
    const std::string_view level = row.sActionParam1;
    mmg_set_debug_function_flag(level == "DEBUG" ? 1 : 0);
    if (level != "DEBUG")
        mmg_set_debug_info_flag(level == "INF" ? 1 : 0);
    return ActionEnd::DONE;
}

ActionEnd action_clear_port(ActionRow& row) {
    const int port = std::atoi(row.sActionParam1);
    const bool is_port = row.shelfID == GPON_SHELF && fits(row.slotID, ov_gpon_maxslot_get()) &&
                         fits(port, ov_gpon_maxpon_get());
    if (is_port && ov_app_gpon_port_config_clear_start(port_ifindex(PORT_TYPE_GPON, row.slotID, port),
                                                       [row] { action_finished(row); }) == OV_GPON_RET_OK)
        return ActionEnd::LATER;
    OV_LOG_ERROR(LOG_TAG, "lack of parameter!");
    return ActionEnd::FAILED;
}

ActionEnd action_show_onu_versions(ActionRow& row) {
    std::array<char, LISTED_BYTES + 1> names{};
    const std::string list = "ls " + ov_product_onu_version_dir() + " | sort";
    if (get_system_output(list.c_str(), names.data(), LISTED_BYTES) < 0)
        return ActionEnd::FAILED;
    for (int number = 2; number <= SHOWN_NAMES; ++number) // the sixth keeps what is in it
        action_parameter_set(row, number, "");
    const int count = for_each_word(names.data(), [&row](int place, const std::string& name) {
        if (place <= SHOWN_NAMES)
            action_parameter_set(row, place + 1, name.c_str(), ACTION_PARAMETER_SIZE - 2);
    });
    action_parameter_set(row, 1, std::to_string(count).c_str());
    return ActionEnd::DONE;
}

ActionEnd action_delete_onu_versions(ActionRow& row) {
    for (int number = 1; number <= ACTION_PARAMETERS; ++number) {
        const char* name = action_parameter(row, number);
        if (*name != '\0' && ov_product_onu_version_file_delete(name) == 0)
            tell_cards(name);
    }
    return ActionEnd::DONE;
}
