#include "ov_app_gpon_action_type.h"

#include <algorithm>
#include <cstring>

#include "ov_command.h"

namespace {

constexpr unsigned NONE = 0;
constexpr unsigned SERVER = action_parameters(1, 2, 3); // host, port, file
constexpr unsigned NAME = action_parameters(1);

constexpr ActionType TYPES[] = {
    {SACTIONTYPE_PMUPLOAD, " PMUPLOAD ", SERVER, nullptr, action_upload_pm, "pmupload"},
    {SACTIONTYPE_CONFIGUPLOAD, " CONFIGUPLOAD ", SERVER, nullptr, action_upload_config, "configupload"},
    {SACTIONTYPE_CONFIGDOWNLOAD, " CONFIGDOWNLOAD ", SERVER, nullptr, action_download_config,
     "configdownload"},
    {SACTIONTYPE_UPGRADE, " UPGRADE ", SERVER, nullptr, action_upgrade, "upgrade"},
    {SACTIONTYPE_CONFIGSAVE, " CONFIGSAVE ", NONE, action_save_config, nullptr, nullptr},
    {SACTIONTYPE_CONFIGTODEFAULT, " CONFIGTODEFAULT ", NONE, action_config_to_default, nullptr, nullptr},
    {SACTIONTYPE_GPONCONFIGCLEAR, " GPONCONFIGCLEAR ", action_parameters(1), action_clear_port, nullptr,
     nullptr},
    {SACTIONTYPE_GETDIAGDATA, " GETDIAGDATA ", SERVER, nullptr, action_send_diagnostics, "getdiagdata"},
    {SACTIONTYPE_REBOOT, " REBOOT ", NONE, action_reboot, nullptr, nullptr},
    {SACTIONTYPE_APPDEBUGLEVEL, " APPDEBUGLEVEL ", action_parameters(1), action_debug_level, nullptr,
     nullptr},
    {SACTIONTYPE_ONUUPGRADE, " ONUUPGRADE ", SERVER, nullptr, action_fetch_onu_version, "onuupgrade"},
    {SACTIONTYPE_SHOWONUVER, " SHOWONUVER ", NONE, action_show_onu_versions, nullptr, nullptr},
    {SACTIONTYPE_DELONUVER, " DELONUVER ", NONE, action_delete_onu_versions, nullptr, nullptr},
    {SACTIONTYPE_TABLEUPLOAD, " TABLEUPLOAD ", SERVER, nullptr, action_upload_table, "tableupload"},
    {SACTIONTYPE_MULTIONUSRVCFG, " MULTIONUSRVCFG ", action_parameters(1, 2, 3), action_config_onus, nullptr,
     nullptr},
    {SACTIONTYPE_MULTIONUSRVDEL, " MULTIONUSRVDEL ", action_parameters(1, 3), action_delete_onu_services,
     nullptr, nullptr},
    {SACTIONTYPE_SFTPUPLOADPMDADTA, " SFTPUPLOADPMDADTA ", NONE, nullptr, action_pack_pm, nullptr},
    {SACTIONTYPE_SFTPUPLOADCONFIG, " SFTPUPLOADCONFIG ", NONE, nullptr, action_pack_config, nullptr},
    {SACTIONTYPE_SFTPUPLOADMIBDATA, " SFTPUPLOADMIBDATA ", NONE, nullptr, action_pack_table, nullptr},
    {SACTIONTYPE_SFTPUPLOADLOG, " SFTPUPLOADLOG ", NONE, nullptr, action_pack_log, nullptr},
    {SACTIONTYPE_SFTPUPLOADDIAG, " SFTPUPLOADDIAG ", NONE, nullptr, action_pack_diagnostics, nullptr},
    {SACTIONTYPE_SFTPDOWNLOADCONFIG, " SFTPDOWNLOADCONFIG ", NAME, nullptr, action_take_config, nullptr},
    {SACTIONTYPE_SFTPDOWNLOADOLTFIRM, " SFTPDOWNLOADOLTFIRM ", NAME, nullptr, action_take_load, nullptr},
    {SACTIONTYPE_SFTPDOWNLOADONUFIRM, " SFTPDOWNLOADONUFIRM ", NAME, nullptr, action_take_onu_version,
     nullptr},
};

} // namespace

char* action_parameter(ActionRow& row, int number) {
    char* const all[ACTION_PARAMETERS] = {row.sActionParam1, row.sActionParam2, row.sActionParam3,
                                          row.sActionParam4, row.sActionParam5, row.sActionParam6};
    return all[number - 1];
}

const char* action_parameter(const ActionRow& row, int number) {
    return action_parameter(const_cast<ActionRow&>(row), number);
}

void action_parameter_set(ActionRow& row, int number, const char* text, size_t longest) {
    char* to = action_parameter(row, number);
    const size_t length = strnlen(text, std::min(longest, ACTION_PARAMETER_SIZE - 1));
    std::memset(to, 0, ACTION_PARAMETER_SIZE);
    std::memcpy(to, text, length);
}

const ActionType* action_type_find(int number) {
    const auto* type = std::find_if(std::begin(TYPES), std::end(TYPES),
                                    [number](const ActionType& each) { return each.number == number; });
    return type != std::end(TYPES) ? type : nullptr;
}

bool action_has_required(const ActionType& type, const ActionRow& row) {
    for (int number = 1; number <= ACTION_PARAMETERS; ++number)
        if ((type.required & action_parameters(number)) != 0 &&
            !ov_command_word_ok(action_parameter(row, number)))
            return false;
    return true;
}

const char* ov_app_gpon_action_text(int type) {
    const ActionType* found = action_type_find(type);
    return found != nullptr ? found->text : "UNKNOWN ERROR";
}
