// The saved configuration of ONUs' telephony.
#include <cstring>

#include "app_rows.h"
#include "cli_objects.h"
#include "ov_gpon_onu_config.h"
#include "ov_gpon_rm_config.h"
#include "ov_shown_text.h"
#include "rm/ov_gpon_rm_uni_word.h"
#include "rm/ov_gpon_rm_voip_forms.h"
#include "sRmVoipConfigDataTable.h"
#include "sRmVoipSipAgentConfigTable.h"

namespace {

using Voip = ov_sRmVoipConfigDataTable_attr_t;
using Agent = ov_sRmVoipSipAgentConfigTable_attr_t;
using User = ov_sRmVoipSipUserDataTable_attr_t;

// "remote onu .CMD" with this text: words with one blank between each two, and not another command.
std::string text_line(const std::string& text) {
    const bool is_words = cli_is_word(text.substr(0, text.find(' '))) && text.back() != '|' &&
                          text.find("  ") == text.npos && text.back() != ' ' &&
                          text.find("| ") == text.npos && ov_is_shown(text);
    return is_words && !gpon_rm_is_onu_command(text) ? "remote onu " + text : "";
}

// What a telephone has when nobody is its user.
bool has_no_user(const User& user) {
    return user.sRmVoipSipUserDataAgentID == 0 && *user.sRmVoipSipUserDataUserAor == '\0' &&
           *user.sRmVoipSipUserDataDisplayName == '\0' && *user.sRmVoipSipUserDataUsername == '\0' &&
           *user.sRmVoipSipUserDataPassword == '\0';
}

} // namespace

int ov_gpon_cli_rm_voip_config_data_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    const Voip* const voip = find_row(gpon_config_key_of<Voip>(onu));
    if (voip == nullptr)
        return 0;
    int lines = cli_settings_print(vty, cli_objects::rm_voip, voip, gpon_rm_config_node(onu));
    // a service profile has no command for the text
    if (*voip->sRmVoipConfigDataVoipMacVlan != '\0' && onu.row != nullptr)
        lines += gpon_rm_config_print(vty, onu, "VLAN and MAC address of telephony",
                                      text_line(voip->sRmVoipConfigDataVoipMacVlan));
    return lines;
}

int ov_gpon_cli_rm_voip_sip_agent_config_data_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Agent& agent : rows_under(gpon_config_key_of<Agent>(onu), INDEX_TO_ONU))
        lines +=
            gpon_rm_config_print(vty, onu, "sip-agent " + std::to_string(agent.sRmVoipSipAgentConfigAgentID),
                                 gpon_rm_sip_agent_forms().line(&agent));
    return lines;
}

int ov_gpon_cli_rm_voip_sip_user_data_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const User& user : rows_under(gpon_config_key_of<User>(onu), INDEX_TO_ONU))
        if (onu.row != nullptr && !has_no_user(user))
            lines += gpon_rm_config_print(vty, onu, "sip-user " + gpon_rm_uni_word(user),
                                          gpon_rm_sip_user_forms().line(&user));
    return lines;
}
