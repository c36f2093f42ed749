// Telephony of an ONU: its protocol, SIP agents and users, and the state of its lines.
#include "app_rows.h"
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_gpon_rm_cli.h"
#include "ov_gpon_rm_voip_forms.h"

namespace {

using namespace cli_objects;
using namespace sRmVoipConfigDataTable_column;
using namespace sRmVoipSipUserDataTable_column;
using namespace sRmVoipLineStatusTable_column;
using Voip = ov_sRmVoipConfigDataTable_attr_t;
using Agent = ov_sRmVoipSipAgentConfigTable_attr_t;
using User = ov_sRmVoipSipUserDataTable_attr_t;
using Line = ov_sRmVoipLineStatusTable_attr_t;

// ---- the ONU's telephony as a whole ---------------------------------------------------------------------

// Words with a blank between each two.
std::string joined(std::span<const char* const> words) {
    std::string text;
    for (const char* const word : words)
        text += (text.empty() ? "" : " ") + std::string(word);
    return text;
}

int refuse_other_command(const CliCall& call, const std::string& text) {
    ov_refusal_because("there is no command like that, and what begins as one isn't kept as text");
    call.line("%%Bad params %s", text.c_str());
    return KAVO_CLI_BAD_INPUT;
}

int ov_gpon_onu_rm_voip_vlan_mac_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Voip>(call.vty);
    const std::string text = joined(call.words.all("CMD"));
    if (gpon_rm_is_onu_command(text))
        return refuse_other_command(call, text);
    if (!gpon_cli_copy_word(row.sRmVoipConfigDataVoipMacVlan, text.c_str())) {
        ov_refusal_because("the text has at most %zu characters",
                           sizeof row.sRmVoipConfigDataVoipMacVlan - 1);
        return call.fail("%%String length exceeds%s");
    }
    MIB_Flags_t columns = gpon_cli_columns({sRmVoipConfigDataVoipMacVlan});
    return ov_app_gpon_rm_voip_config_data_edit(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to set voip vlan and mac%s");
}

// ---- SIP agents -----------------------------------------------------------------------------------------

int ov_gpon_onu_rm_sip_agent_add_proxy_outbound_dual_dns_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Agent>(call.vty);
    MIB_Flags_t columns = gpon_cli_columns({});
    if (const int refusal = gpon_rm_sip_agent_forms().read(call, &row, columns); refusal != 0)
        return refusal;
    return ov_app_gpon_rm_sip_agent_config_data_add(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to add sip-agent%s");
}

int ov_gpon_onu_rm_sip_agent_delete_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Agent>(call.vty);
    row.sRmVoipSipAgentConfigAgentID = call.words.number<mib_ulong>("sip-agent");
    return ov_app_gpon_rm_sip_agent_config_data_delete(&row) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to no sip-agent%s");
}

// ---- SIP users ------------------------------------------------------------------------------------------

int edit_user(const CliCall& call, User& row, MIB_Flags_t& columns) {
    return ov_app_gpon_rm_sip_user_data_edit(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to add remote sip user %s");
}

int ov_gpon_onu_rm_sip_user_add_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<User>(call.vty);
    MIB_Flags_t columns = gpon_cli_columns({});
    if (const int refusal = gpon_rm_sip_user_forms().read(call, &row, columns); refusal != 0)
        return refusal;
    return edit_user(call, row, columns);
}

// The telephone stays, and has no user.
int ov_gpon_onu_rm_sip_user_delete_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<User>(call.vty);
    if (const int refusal = gpon_rm_put_uni(call, "POTS", row); refusal != 0)
        return refusal;
    MIB_Flags_t columns =
        gpon_cli_columns({sRmVoipSipUserDataAgentID, sRmVoipSipUserDataUserAor, sRmVoipSipUserDataDisplayName,
                          sRmVoipSipUserDataUsername, sRmVoipSipUserDataPassword});
    return edit_user(call, row, columns);
}

// ---- lines ----------------------------------------------------------------------------------------------

// RTP payload types (RFC 3551), as ITU-T G.988 has them for the codec of a line.
constexpr ColName CODECS[] = {{0, "PCMU"},   {3, "GSM"},    {4, "G.723"}, {5, "DVI4 8 kHz"},
                              {7, "LPC"},    {8, "PCMA"},   {9, "G.722"}, {6, "DVI4 16 kHz"},
                              {12, "QCELP"}, {15, "G.728"}, {18, "G.729"}};
// ITU-T G.988, VoIP line status.
constexpr ColName SERVER_STATES[] = {{0, "none"},
                                     {1, "registered"},
                                     {2, "in session"},
                                     {3, "registration failed: icmp error"},
                                     {4, "registration failed: tcp"},
                                     {5, "registration failed: authentication"},
                                     {6, "registration failed: timeout"},
                                     {7, "registration failed: server"},
                                     {8, "invite failed: icmp error"},
                                     {9, "invite failed: tcp"},
                                     {10, "invite failed: authentication"},
                                     {11, "invite failed: timeout"},
                                     {12, "invite failed: server"},
                                     {13, "port not configured"},
                                     {14, "configured"},
                                     {15, "disabled by switch"}};
constexpr ColName SESSIONS[] = {{0, "idle"},      {1, "2 way"},     {2, "3 way"},
                                {3, "fax/modem"}, {4, "telemetry"}, {5, "conference"}};

constexpr RmItem LINE[] = {
    {"server status", sRmVoipLineStatusVoipVoiceSerStatus, SERVER_STATES},
    {"session", sRmVoipLineStatusVoipPortSessionType, SESSIONS},
    {"codec", sRmVoipLineStatusVoipCodecUsed, CODECS},
    {"call 1 packet period", sRmVoipLineStatusVoipCall1PktPeriod},
    {"call 2 packet period", sRmVoipLineStatusVoipCall2PktPeriod},
    {"call 1 to", sRmVoipLineStatusVoipCall1DstAddr},
    {"call 2 to", sRmVoipLineStatusVoipCall2DstAddr},
};

// The columns that the ONU is asked for.
MIB_Flags_t columns_of_line() {
    MIB_Flags_t columns = gpon_cli_columns({});
    for (const RmItem& item : LINE)
        mib_flag_set(columns, item.column);
    return columns;
}

int ov_show_gpon_onu_rm_voip_voice_server_status_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Line>(call.vty);
    if (const int refusal = gpon_rm_put_uni(call, "POTS", row); refusal != 0)
        return refusal;
    const bool is_up = gpon_rm_onu_is_up(row);
    if (!mib_access(MIB_GET, row, columns_of_line())) {
        if (find_row(row) == nullptr)
            ov_refusal_because("the ONU has no telephone %s", call.words.text("POTS"));
        return call.fail("%%Failed to get voip voice server status%s");
    }
    const RmItems items(call.vty, "uni");
    items.begin();
    items.print(gpon_rm_uni_word(row), "read", is_up ? "now" : "earlier");
    items.print(gpon_rm_uni_word(row), table_desc_sRmVoipLineStatusTable, &row, LINE);
    return 0;
}

const CliCommand rm_voip_cmds[] = {
#include "commands/rm_voip.def"
};

} // namespace

void gpon_rm_voip_cli_init() {
    cli_install(rm_voip_cmds);
}
