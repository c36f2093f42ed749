#include "ov_app_gpon_action_station.h"

#include <atomic>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "mmg_mib_save_task.h"
#include "mono_api.h"
#include "ov_app_gpon_action_type.h"
#include "ov_command.h"
#include "ov_product_load.h"
#include "ov_product_log.h"
#include "ov_product_transfer.h"
#include "ov_system.h"

namespace {

constexpr char LOG_TAG[] = "MMG";
constexpr int FAILED = 101001;
constexpr int BAD_PARAMETER = 101004;
constexpr unsigned LOOK_EVERY_USEC = 100'000;
constexpr unsigned SAVE_LIMIT_MSEC = 2000;
constexpr size_t LONGEST_PATH = 62;

std::atomic<uint32_t> g_save_requests{0};

int failed(const char* text) {
    OV_LOG_ERROR(LOG_TAG, "%s", text);
    return -1;
}

// What an action tells in parameter 6.
void tell(ActionWork& work, const std::string& text, size_t longest = ACTION_PARAMETER_SIZE - 1) {
    action_parameter_set(work.row, 6, text.c_str(), longest);
    work.has_path = true;
}

} // namespace

// ---- prepared for the station ------------------------------------------------------------------------

int action_prepare_pmdata() {
    return 0;
}

int action_prepare_logfile() {
    return 0;
}

int action_prepare_diagfile() {
    return 0;
}

int action_prepare_config() {
    const int result = ov_product_pack_config_file();
    if (result != 0)
        OV_LOG_ERROR(LOG_TAG, "pack config file to %s/%s failed.", OV_NMS_UPLOAD_DIR, OV_CONFIG_PACK);
    return result;
}

int action_prepare_mibtable(const char* mib_table_name) {
    const uint32_t request = ++g_save_requests;
    const uint64_t begin = GetTime_ms();
    mmg_table_save_flag_set(mib_table_name, 1);
    mono_api_mib_save_action(request, mib_table_name);
    while (mmg_table_save_flag_get(mib_table_name) != 0) {
        if (GetTime_ms() - begin >= SAVE_LIMIT_MSEC) {
            OV_LOG_ERROR(LOG_TAG, "save mib %s timeout %d ms.", mib_table_name, int{SAVE_LIMIT_MSEC});
            return FAILED;
        }
        usleep(LOOK_EVERY_USEC);
    }
    return 0;
}

int action_pack_pm(ActionWork& /*work*/) {
    return action_prepare_pmdata();
}

int action_pack_log(ActionWork& /*work*/) {
    return action_prepare_logfile();
}

int action_pack_diagnostics(ActionWork& /*work*/) {
    return action_prepare_diagfile();
}

int action_pack_config(ActionWork& work) {
    const int result = action_prepare_config();
    if (result == 0)
        tell(work, std::string(OV_NMS_UPLOAD_DIR) + "/" + OV_CONFIG_PACK);
    return result;
}

// The path is that of a system whose table files haven't been moved, whatever this one's is.
int action_pack_table(ActionWork& work) {
    const std::string name = work.row.sActionParam1;
    if (!ov_command_word_ok(name)) {
        tell(work, "Inavlid table name " + name);
        return BAD_PARAMETER;
    }
    const int result = action_prepare_mibtable(name.c_str());
    if (result == 0)
        tell(work, MMG_MIB_DATA_DIR + name + ".mib", LONGEST_PATH);
    return result;
}

// ---- taken from the station --------------------------------------------------------------------------

int ov_upgrade_olt_load_check(const char* loadname) {
    return ov_product_check_load_by_sftp(loadname) == 0 ? 0 : failed("olt load file is incorrect.");
}

int action_get_olt_upgrade_file(const char* loadname) {
    if (ov_upgrade_olt_load_check(loadname) == 0 && ov_product_upgrade_olt_load_by_sftp(loadname) == 0)
        return 0;
    return failed("upgrade olt load by action failed.");
}

int action_get_onu_upgrade_file(const char* loadname) {
    return ov_product_upgrade_onu_load_by_sftp(loadname) == 0 ? 0
                                                              : failed("upgrade olt load by action failed.");
}

int action_get_config_file(const char* filename) {
    const int result = ov_product_get_config_file_by_sftp(filename);
    if (result != 0)
        failed("download config file by action failed.");
    return result;
}

int action_take_config(ActionWork& work) {
    return action_get_config_file(work.row.sActionParam1);
}

int action_take_load(ActionWork& work) {
    return action_get_olt_upgrade_file(work.row.sActionParam1);
}

int action_take_onu_version(ActionWork& work) {
    return action_get_onu_upgrade_file(work.row.sActionParam1);
}
