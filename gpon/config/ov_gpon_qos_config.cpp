// The saved configuration of QoS: profiles, and what ports and ONUs have of them. What has a profile that no
// command makes has no line either: the replay of its block would end there.
#include "ov_gpon_qos_config.h"

#include <string>
#include <vector>

#include "app_rows.h"
#include "cli_forms.h"
#include "command_syntaxes.h"
#include "gpon_config_parts.h"
#include "gpon_config_writer.h"
#include "kavo_cmd.h"
#include "kavo_if.h"
#include "onuQosTable.h"
#include "ov_app_gpon_qos.h"
#include "ov_gpon_onu_config.h"
#include "ov_gpon_qos_profile.h"
#include "ov_product_log.h"
#include "ponPortQosTable.h"
#include "portQosTable.h"

namespace {

using Lines = std::vector<std::string>;

int print(struct vty* vty, const std::string& line) {
    vty_out(vty, " %s%s", line.c_str(), kavo_newline(vty));
    return 1;
}

int print_all(struct vty* vty, const Lines& lines) {
    for (const std::string& line : lines)
        print(vty, line);
    return static_cast<int>(lines.size());
}

// ---- profiles ---------------------------------------------------------------------------------------------

// Those that are there at every start have no line.
template <typename Profile>
int print_profiles(struct vty* vty, const QosList<Profile>& list, const char* word, uint32_t last_id) {
    int lines = 0;
    for (const Profile& profile : list) {
        if (profile.id == OV_QOS_DEFAULT_INDEX_ID || profile.id > last_id)
            continue;
        const std::string line = gpon_qos_profile_line(profile);
        if (!line.empty())
            lines += print(vty, line);
        else if (vty->write_term_flag == WRITE_TERM_FILE)
            OV_LOG_WARN("LIB", "profile %s %u is in no saved configuration: no command makes it", word,
                        profile.id);
    }
    return lines;
}

int print_all_profiles(struct vty* vty) {
    constexpr uint32_t NO_LAST = UINT32_MAX;
    return print_profiles(vty, g_qos_sched_profile_list, "qos-queue-scheduler", NO_LAST) +
           print_profiles(vty, g_cosq_map_profile_list, "cos-queue-map", OV_QOS_COSQ_MAP_PROFILE_ID_MAX) +
           print_profiles(vty, g_cos_to_cos_map_profile_list, "cos-to-cos", NO_LAST) +
           print_profiles(vty, g_qos_traffic_profile_list, "qos-queue-traffic", NO_LAST);
}

// ---- bindings ---------------------------------------------------------------------------------------------

// A command, by the words that it begins with.
CliSyntax command_of(std::string_view beginning) {
    for (const std::string_view syntax : gpon_command_syntaxes())
        if (syntax.starts_with(beginning))
            return CliSyntax(std::string(syntax));
    return CliSyntax("");
}

// Adds a command's line, if it can hold the values.
void add(Lines& lines, const CliSyntax& command, std::initializer_list<CliValue> values) {
    if (std::string line = command.line(values); !line.empty())
        lines.push_back(std::move(line));
}

// The same of one that gives a profile, unless that is the usual one.
void add_profile(Lines& lines, const CliSyntax& command, qos_profile_kind_e kind, mib_long id,
                 mib_long usual = OV_QOS_DEFAULT_INDEX_ID) {
    if (id != usual && gpon_qos_profile_is_saved(kind, static_cast<uint32_t>(id)))
        add(lines, command, {id});
}

const CliSyntax& scheduler() {
    static const CliSyntax command = command_of("qos-queue-scheduler (");
    return command;
}
const CliSyntax& traffic() {
    static const CliSyntax command = command_of("qos-queue-traffic (");
    return command;
}

// ---- ports ------------------------------------------------------------------------------------------------

// The model comes first: a change of it takes the profiles away.
Lines lines_of(const ov_ponPortQosTable_attr_t& row) {
    static const CliSyntax model = command_of("qos-queue-scheduler model");
    const bool is_hierarchical = row.ponPortQosSchedulerModel == OV_QOS_SCHED_HIERARCHY;
    Lines lines;
    if (row.ponPortQosSchedulerModel != g_qos_pon_def_mode_value)
        add(lines, model, {is_hierarchical ? "hierarchy" : "simple"});
    add_profile(lines, scheduler(), QOS_PROFILE_SCHED, row.ponPortQosSchedulerProfileId);
    add_profile(lines, traffic(), QOS_PROFILE_TRAFFIC, row.ponPortQosTrafficProfileId);
    return lines;
}

// A profile of classes of service as the command for both directions has it.
CliValue direction_value(mib_long id) {
    return id == static_cast<mib_long>(OV_QOS_DEFAULT_INDEX_ID) ? CliValue("default") : CliValue(id);
}

void add_cos_to_cos(Lines& lines, const ov_portQosTable_attr_t& row) {
    static const CliSyntax command = command_of("cos-to-cos uplink");
    const mib_long up = row.portQosUplinkCosToCosProfileId;
    const mib_long down = row.portQosDownlinkCosToCosProfileId;
    const auto is_saved = [](mib_long id) {
        return gpon_qos_profile_is_saved(QOS_PROFILE_COS_TO_COS, static_cast<uint32_t>(id));
    };
    if ((up != 0 || down != 0) && is_saved(up) && is_saved(down))
        add(lines, command, {direction_value(up), direction_value(down)});
}

Lines lines_of(const ov_portQosTable_attr_t& row) {
    static const CliSyntax mapping = command_of("cos-queue-map (");
    Lines lines;
    add_profile(lines, scheduler(), QOS_PROFILE_SCHED, row.portQosSchedulerProfileId);
    add_profile(lines, mapping, QOS_PROFILE_COSQ_MAP, row.portQosCosQueueMappingProfileId);
    add_cos_to_cos(lines, row);
    add_profile(lines, traffic(), QOS_PROFILE_TRAFFIC, row.portQosTrafficProfileId);
    return lines;
}

std::string name_of(const ov_ponPortQosTable_attr_t& row) {
    return "gpon-olt" + std::to_string(row.slotID) + "/" + std::to_string(row.portID);
}

// Empty for a port that isn't there: no command can enter it.
std::string name_of(const ov_portQosTable_attr_t& row) {
    const uif_t* port =
        uif_get_uplink_port_by_phy_info(static_cast<uint8_t>(row.shelfID), static_cast<uint8_t>(row.slotID),
                                        static_cast<uint16_t>(row.portID));
    return port != nullptr ? port->name : "";
}

// A block for each port that has something.
template <typename Row>
int print_ports(struct vty* vty) {
    int printed = 0;
    for (const Row& row : all_rows<Row>()) {
        const Lines lines = lines_of(row);
        const std::string name = lines.empty() ? "" : name_of(row);
        if (name.empty() || !gpon_config_port_wanted(vty, name.c_str()))
            continue;
        vty_out(vty, "interface %s%s", name.c_str(), kavo_newline(vty));
        printed += 1 + print_all(vty, lines);
    }
    return printed;
}

// ---- ONUs -------------------------------------------------------------------------------------------------

void add_bandwidth(Lines& lines, const ov_onuQosTable_attr_t& row) {
    static const CliSyntax command = command_of("qos-onu-bandwidth");
    if (row.onuQosMinBw != 0 || row.onuQosMaxBw != 0)
        add(lines, command, {row.onuQosMinBw, row.onuQosMaxBw});
}

void add_weight(Lines& lines, const ov_onuQosTable_attr_t& row) {
    static const CliSyntax command = command_of("qos-onu-weight");
    if (row.onuQosWeight != static_cast<mib_long>(OV_APP_ONU_QOS_WEIGHT_DEFAULT))
        add(lines, command, {row.onuQosWeight});
}

// Of an ONU, whose own mapping may also stand as the number of none.
void add_profiles(Lines& lines, const ov_onuQosTable_attr_t& row) {
    static const CliSyntax mapping = command_of("cos-queue-map downlink");
    add_profile(lines, scheduler(), QOS_PROFILE_SCHED, row.onuQosSchedulerProfileId);
    add_profile(lines, mapping, QOS_PROFILE_COSQ_MAP, row.onuQosDownlinkCosQueueMapProfileId,
                static_cast<mib_long>(gpon_qos_own_mapping(onu_ifindex_of(row))));
    add_profile(lines, traffic(), QOS_PROFILE_TRAFFIC, row.onuQosTrafficProfileId);
}

} // namespace

uint32_t gpon_qos_own_mapping(ov_ifindex_t onu) {
    uint32_t profile = OV_QOS_DEFAULT_INDEX_ID;
    if (ov_app_onu_cosq_defId(onu, &profile) != OV_QOS_OK || profile >= OV_QOS_COSQ_MAP_PROFILE_NUM)
        return OV_QOS_DEFAULT_INDEX_ID;
    return profile;
}

int ov_app_dump_qos_cfg_vtysh(struct vty* vty) {
    switch (vty->cfg_node) {
    case GPON_NODE:
        return print_all_profiles(vty);
    case IF_GPON_NODE:
        return print_ports<ov_ponPortQosTable_attr_t>(vty);
    default:
        return print_ports<ov_portQosTable_attr_t>(vty);
    }
}

int ov_gpon_cli_onu_qos_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    const auto* row = find_row(gpon_config_key_of<ov_onuQosTable_attr_t>(onu));
    if (row == nullptr)
        return 0;
    Lines lines;
    const bool is_onu = !is_template_row(*row);
    if (is_onu)
        add_profiles(lines, *row);
    add_bandwidth(lines, *row);
    if (is_onu)
        add_weight(lines, *row);
    return print_all(vty, lines);
}
