#include "ov_gpon_rm_voip_forms.h"

#include <algorithm>

#include "command_syntaxes.h"
#include "ov_gpon_rm_uni_word.h"
#include "sRmVoipSipAgentConfigTable.h"

namespace {

// ---- agents ---------------------------------------------------------------------------------------------

using namespace sRmVoipSipAgentConfigTable_column;

constexpr CliIndexWord AGENT_INDEX[] = {{"sip-agent", 4}};
constexpr const char* TOO_LONG = "%%String length exceeds%s";

constexpr CliRowWord AGENT_WORDS[] = {
    {.name = "registrar-server", .column = sRmVoipSipAgentConfigRegistrarServer, .unfit = TOO_LONG},
    {.name = "proxy-server", .column = sRmVoipSipAgentConfigProxyServer, .unfit = TOO_LONG},
    {.name = "outbound-proxy", .column = sRmVoipSipAgentConfigOutboundServer, .unfit = TOO_LONG},
    {.name = "primary-dns", .column = sRmVoipSipAgentConfigPrimaryDns},
    {.name = "secondary-dns", .column = sRmVoipSipAgentConfigSecondaryDns},
    {.name = "tcpudp-port", .column = sRmVoipSipAgentConfigTcpUdpPort},
};
constexpr unsigned AGENT_UNSAID[] = {sRmVoipSipAgentConfigIpHost};

// ---- users ----------------------------------------------------------------------------------------------

using namespace sRmVoipSipUserDataTable_column;

constexpr CliIndexWord USER_INDEX[] = {gpon_rm_uni_index<ov_sRmVoipSipUserDataTable_attr_t>("POTS")};
constexpr const char* NAME_TOO_LONG = "%%Username or password len exceed range%s";

constexpr CliRowWord USER_WORDS[] = {
    {.name = "sip-agent", .column = sRmVoipSipUserDataAgentID},
    {.name = "user-aor", .column = sRmVoipSipUserDataUserAor, .unfit = TOO_LONG},
    {.name = "display-name", .column = sRmVoipSipUserDataDisplayName, .unfit = TOO_LONG},
    {.name = "username", .column = sRmVoipSipUserDataUsername, .unfit = NAME_TOO_LONG},
    {.name = "password", .column = sRmVoipSipUserDataPassword, .unfit = NAME_TOO_LONG},
};

// The keywords that can stand behind "remote onu".
std::vector<std::string> onu_keywords() {
    std::vector<std::string> all;
    for (const char* const syntax : gpon_command_syntaxes()) {
        const auto words = kavo_cmd_parse(syntax);
        if (words.size() > 2 && words[0].alternatives[0] == "remote" && words[1].alternatives[0] == "onu" &&
            words[2].kind == kavo_cmd_word_t::KEYWORD)
            all.push_back(words[2].alternatives[0]);
    }
    return all;
}

} // namespace

const CliRowForms& gpon_rm_sip_agent_forms() {
    static const CliRowForms forms(table_desc_sRmVoipSipAgentConfigTable, AGENT_INDEX, AGENT_WORDS,
                                   AGENT_UNSAID);
    return forms;
}

const CliRowForms& gpon_rm_sip_user_forms() {
    static const CliRowForms forms(table_desc_sRmVoipSipUserDataTable, USER_INDEX, USER_WORDS);
    return forms;
}

bool gpon_rm_is_onu_command(const std::string& text) {
    static const std::vector<std::string> keywords = onu_keywords();
    const std::string first = text.substr(0, text.find(' '));
    return std::any_of(keywords.begin(), keywords.end(),
                       [&](const std::string& keyword) { return keyword.starts_with(first); });
}
