// Management of an ONU itself: its IP host, its TR-069 client, the turns of its queues.
#include <arpa/inet.h>

#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_queue_schedule.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_gpon_rm_cli.h"
#include "ov_gpon_rm_ip_host.h"

namespace {

using namespace cli_objects;
using namespace sRmIPHostTable_column;
using namespace sRmTr069MgmtTable_column;
using namespace sRmOnuQosPriorityQueueScheduleTable_column;
using Host = ov_sRmIPHostTable_attr_t;
using Client = ov_sRmTr069MgmtTable_attr_t;
using Schedule = ov_sRmOnuQosPriorityQueueScheduleTable_attr_t;

// ---- IP host --------------------------------------------------------------------------------------------

// The address `nth` of the line; the parser has seen to it that it is one.
mib_ulong address(const CliWords& words, size_t nth) {
    in_addr address = {};
    inet_pton(AF_INET, words.text("mgmt-ip", nth), &address);
    return address.s_addr;
}

// The addresses of the line. 0, or the result of a refusal, behind its text.
int take_addresses(const CliCall& call, Host& row) {
    row.sRmIPHostIpAddress = address(call.words, 0);
    row.sRmIPHostNetMask = address(call.words, 1);
    row.sRmIPHostGateway = address(call.words, 2);
    row.sRmIPHostPrimaryDns = address(call.words, 3);
    row.sRmIPHostSecondaryDns = address(call.words, 4);
    const RmAddressFault* const fault = gpon_rm_address_fault(row);
    if (fault == nullptr)
        return 0;
    ov_refusal_because("%s", fault->reason);
    return call.fail(fault->text, KAVO_CLI_BAD_INPUT);
}

int ov_gpon_onu_rm_mgmt_ip_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Host>(call.vty);
    row.sRmIPHostMode = call.words.has("dhcp") ? SRMIPHOSTMODE_DHCP : SRMIPHOSTMODE_STATIC;
    if (row.sRmIPHostMode == SRMIPHOSTMODE_STATIC)
        if (const int refusal = take_addresses(call, row); refusal != 0)
            return refusal;
    row.sRmIPHostVlanId = call.words.number<mib_ulong>("vlan");
    MIB_Flags_t columns =
        gpon_cli_columns({sRmIPHostMode, sRmIPHostIpAddress, sRmIPHostNetMask, sRmIPHostGateway,
                          sRmIPHostPrimaryDns, sRmIPHostSecondaryDns, sRmIPHostVlanId});
    return ov_app_gpon_rm_iphost_add(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to add mgmt ip%s");
}

int ov_gpon_onu_no_rm_mgmt_ip_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Host>(call.vty);
    return ov_app_gpon_rm_iphost_del(&row) == OV_GPON_RET_OK ? 0 : call.fail("%%Failed to delete mgmt ip%s");
}

constexpr RmItem HOST[] = {
    {"mode", sRmIPHostMode},
    {"vlan", sRmIPHostVlanId},
    {"ip address", sRmIPHostIpAddress},
    {"netmask", sRmIPHostNetMask},
    {"gateway", sRmIPHostGateway},
    {"primary dns", sRmIPHostPrimaryDns},
    {"secondary dns", sRmIPHostSecondaryDns},
    {"current ip address", sRmIPHostCurrentIpAddress},
    {"current netmask", sRmIPHostCurrentNetMask},
    {"current gateway", sRmIPHostCurrentGateway},
    {"current primary dns", sRmIPHostCurrentPrimaryDns},
    {"current secondary dns", sRmIPHostCurrentSecondaryDns},
};

// How the addresses in use were had.
const char* fetch_current(Host& row) {
    if (!gpon_rm_onu_is_up(row))
        return "earlier";
    return ov_app_gpon_iphost_hal_get(&row) == OV_GPON_RET_OK ? "now" : "earlier, its card doesn't tell";
}

int ov_show_gpon_onu_rm_mgmt_ip_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Host>(call.vty);
    const Host* const stored = find_row(row);
    const RmItems items(call.vty, "onu");
    items.begin();
    if (stored == nullptr) {
        items.print(gpon_rm_place(row), "mode", "none");
        return 0;
    }
    row = *stored;
    items.print(gpon_rm_place(row), "read", fetch_current(row));
    items.print(gpon_rm_place(row), table_desc_sRmIPHostTable, &row, HOST);
    return 0;
}

// ---- TR-069 client --------------------------------------------------------------------------------------

constexpr ColName TR069_STATES[] = {{SRMTR069MGMTADMINSTATE_LOCK, "lock"},
                                    {SRMTR069MGMTADMINSTATE_UNLOCK, "unlock"}};

int ov_gpon_onu_rm_tr069_mgmt_vlan_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Client>(call.vty);
    row.sRmTr069MgmtVlanId = call.words.number_or<mib_ulong>("tag", 0); // 0: untagged
    row.sRmTr069MgmtPri = call.words.number_or<mib_ulong>("pri", 0);
    MIB_Flags_t columns = gpon_cli_columns({sRmTr069MgmtVlanId, sRmTr069MgmtPri});
    return ov_app_gpon_rm_tr069_mgmt_edit(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to set tr069 vlan%s");
}

int refuse_length(const CliCall& call, const char* what, size_t longest) {
    ov_refusal_because("%s has at most %zu characters", what, longest);
    return call.fail("%%String length exceeds%s");
}

// The texts of the line. 0, or the result of a refusal, behind its text.
int take_texts(const CliCall& call, Client& row) {
    if (!gpon_cli_copy_word(row.sRmTr069MgmtAcsAddr, call.words.text_or("acs", "")))
        return refuse_length(call, "the address of the server", sizeof row.sRmTr069MgmtAcsAddr - 1);
    if (!gpon_cli_copy_word(row.sRmTr069MgmtUsername, call.words.text_or("username", "")))
        return refuse_length(call, "the user name", sizeof row.sRmTr069MgmtUsername - 1);
    if (!gpon_cli_copy_word(row.sRmTr069MgmtPassword, call.words.text_or("password", "")))
        return refuse_length(call, "the password", sizeof row.sRmTr069MgmtPassword - 1);
    return 0;
}

mib_long validation_of(const CliWords& words) {
    if (words.has("basic"))
        return SRMTR069MGMTVALIDATEMODE_BASIC;
    return words.has("md5") ? SRMTR069MGMTVALIDATEMODE_MD5 : SRMTR069MGMTVALIDATEMODE_DISABLE;
}

// All forms of "acs", and "no": nothing is left of what was there before.
int set_server(CliCall& call) {
    auto row = gpon_cli_onu_key<Client>(call.vty);
    if (const int refusal = take_texts(call, row); refusal != 0)
        return refusal;
    row.sRmTr069MgmtValidateMode = validation_of(call.words);
    MIB_Flags_t columns = gpon_cli_columns(
        {sRmTr069MgmtAcsAddr, sRmTr069MgmtValidateMode, sRmTr069MgmtUsername, sRmTr069MgmtPassword});
    return ov_app_gpon_rm_tr069_mgmt_edit(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to set tr069 acs%s");
}
constexpr auto* ov_gpon_onu_rm_tr069_mgmt_acs_disable_cli = set_server;
constexpr auto* ov_gpon_onu_rm_tr069_mgmt_acs_cli = set_server;
constexpr auto* ov_gpon_onu_no_rm_tr069_mgmt_acs_cli = set_server;

// ---- queues ---------------------------------------------------------------------------------------------

// Strict priority leaves no weights behind.
int set_schedule(CliCall& call) {
    auto row = gpon_cli_onu_key<Schedule>(call.vty);
    row.sRmQueueScheduleMode = SRMQUEUESCHEDULEMODE_STRICT_PRIORITY;
    if (call.words.has("wrr")) {
        row.sRmQueueScheduleMode = SRMQUEUESCHEDULEMODE_WRR;
        for (size_t queue = 0; queue < std::size(row.sRmQueueScheduleWeight); queue++)
            row.sRmQueueScheduleWeight[queue] = static_cast<char>(call.words.number("wrr", queue));
    }
    MIB_Flags_t columns = gpon_cli_columns({sRmQueueScheduleMode, sRmQueueScheduleWeight});
    return ov_app_gpon_rm_queue_schedule_edit(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to set queue-schedule%s");
}
constexpr auto* ov_gpon_onu_rm_queue_schedule_sp_cli = set_schedule;
constexpr auto* ov_gpon_onu_rm_queue_schedule_wrr_cli = set_schedule;

const CliCommand rm_mgmt_cmds[] = {
#include "commands/rm_mgmt.def"
};

} // namespace

void gpon_rm_mgmt_cli_init() {
    cli_install(rm_mgmt_cmds);
}
