// The saved configuration of the management of ONUs themselves: IP host, TR-069 client, queues.
#include <arpa/inet.h>
#include <array>

#include "cli_forms.h"
#include "command_syntaxes.h"
#include "ov_gpon_rm_config.h"
#include "rm/ov_gpon_rm_ip_host.h"
#include "sRmIPHostTable.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"
#include "sRmTr069MgmtTable.h"

namespace {

using Host = ov_sRmIPHostTable_attr_t;
using Client = ov_sRmTr069MgmtTable_attr_t;
using Schedule = ov_sRmOnuQosPriorityQueueScheduleTable_attr_t;

// The syntax that begins with some words, for a command whose arguments have no names of their own.
CliSyntax syntax_of(std::string_view beginning) {
    for (const char* syntax : gpon_command_syntaxes())
        if (std::string_view(syntax).starts_with(beginning))
            return CliSyntax(syntax);
    return CliSyntax("");
}

// ---- IP host --------------------------------------------------------------------------------------------

std::string address_text(mib_ulong address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &address, text.data(), text.size());
}

std::string static_line(const Host& row) {
    static const CliSyntax syntax = syntax_of("remote onu mgmt-ip A.B.C.D");
    if (gpon_rm_address_fault(row) != nullptr)
        return "";
    const std::string addresses[] = {address_text(row.sRmIPHostIpAddress), address_text(row.sRmIPHostNetMask),
                                     address_text(row.sRmIPHostGateway),
                                     address_text(row.sRmIPHostPrimaryDns),
                                     address_text(row.sRmIPHostSecondaryDns)};
    const CliValue values[] = {addresses[0], addresses[1], addresses[2],
                               addresses[3], addresses[4], row.sRmIPHostVlanId};
    return syntax.line(values);
}

// No command gives a priority: a host that has one isn't that of a line without. Its identifier is a label.
std::string line_of(const Host& row) {
    static const CliSyntax dhcp = syntax_of("remote onu mgmt-ip dhcp");
    if (row.sRmIPHostPriority != 0)
        return "";
    const CliValue vlan[] = {row.sRmIPHostVlanId};
    return row.sRmIPHostMode == SRMIPHOSTMODE_DHCP ? dhcp.line(vlan) : static_line(row);
}

// ---- TR-069 client --------------------------------------------------------------------------------------

std::string vlan_line(const Client& row) {
    static const CliForms forms(gpon_command_syntaxes(), {"tag", "pri"});
    return forms.line({row.sRmTr069MgmtVlanId, row.sRmTr069MgmtPri});
}

CliValue word_of(const char* text) {
    return *text != '\0' ? CliValue(text) : CliValue::untypable();
}

std::string server_line(const Client& row) {
    static const CliForms forms(gpon_command_syntaxes(),
                                {"acs", "validate", "disable", "username", "password"});
    const CliValue server = word_of(row.sRmTr069MgmtAcsAddr);
    const CliValue given = CliValue::given(true);
    if (row.sRmTr069MgmtValidateMode == SRMTR069MGMTVALIDATEMODE_DISABLE)
        return forms.line({server, given, given, {}, {}});
    const bool basic = row.sRmTr069MgmtValidateMode == SRMTR069MGMTVALIDATEMODE_BASIC;
    return forms.line({server,
                       basic ? "basic" : "md5",
                       {},
                       word_of(row.sRmTr069MgmtUsername),
                       word_of(row.sRmTr069MgmtPassword)});
}

bool has_server(const Client& row) {
    return row.sRmTr069MgmtAcsAddr[0] != '\0' ||
           row.sRmTr069MgmtValidateMode != SRMTR069MGMTVALIDATEMODE_DISABLE ||
           row.sRmTr069MgmtUsername[0] != '\0' || row.sRmTr069MgmtPassword[0] != '\0';
}

int print_client(struct vty* vty, const gpon_config_onu_t& onu, const Client& row) {
    int lines = cli_settings_print(vty, cli_objects::rm_tr069, &row, gpon_rm_config_node(onu));
    if (row.sRmTr069MgmtVlanId != 0 || row.sRmTr069MgmtPri != 0)
        lines += gpon_rm_config_print(vty, onu, "tr069-mgmt tag", vlan_line(row));
    if (has_server(row))
        lines += gpon_rm_config_print(vty, onu, "tr069-mgmt acs", server_line(row));
    return lines;
}

// ---- queues ---------------------------------------------------------------------------------------------

std::string line_of(const Schedule& row) {
    static const CliSyntax strict = syntax_of("remote onu queue-schedule strict-priority");
    static const CliSyntax weighted = syntax_of("remote onu queue-schedule wrr");
    if (row.sRmQueueScheduleMode == SRMQUEUESCHEDULEMODE_STRICT_PRIORITY)
        return strict.line({});
    std::vector<CliValue> weights;
    for (const auto weight : row.sRmQueueScheduleWeight)
        weights.emplace_back(static_cast<uint8_t>(weight));
    return row.sRmQueueScheduleMode == SRMQUEUESCHEDULEMODE_WRR ? weighted.line(weights) : "";
}

} // namespace

int ov_gpon_cli_rm_iphost_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Host& row : rows_under(gpon_config_key_of<Host>(onu), INDEX_TO_ONU))
        lines += gpon_rm_config_print(vty, onu, "mgmt-ip", line_of(row));
    return lines;
}

// A service profile has neither clients nor queues.
int ov_gpon_cli_rm_tr069_mgmt_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    if (gpon_rm_config_node(onu) != GPON_ONU_NODE)
        return lines;
    for (const Client& row : rows_under(gpon_config_key_of<Client>(onu), INDEX_TO_ONU))
        lines += print_client(vty, onu, row);
    return lines;
}

int ov_gpon_cli_rm_queue_schedule_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    if (gpon_rm_config_node(onu) != GPON_ONU_NODE)
        return lines;
    for (const Schedule& row : rows_under(gpon_config_key_of<Schedule>(onu), INDEX_TO_ONU))
        if (row.sRmQueueScheduleMode != SRMQUEUESCHEDULEMODE_NOT_SET)
            lines += gpon_rm_config_print(vty, onu, "queue-schedule", line_of(row));
    return lines;
}
