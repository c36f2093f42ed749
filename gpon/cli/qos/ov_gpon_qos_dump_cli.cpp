// QoS objects as they are stored: the application's working copies, with what waits for a card.
#include "avltree.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "kavo_table.h"
#include "ov_app_gpon_qos.h"
#include "ov_gpon_qos_cli.h"
#include "ov_ifindex.h"
#include "servicePortTable.h"

namespace {

constexpr int OBJECTS_OF_A_STEP = 250;

std::string name_of(ov_ifindex_t ifindex) {
    if (ov_ifindex_get_slot_id(ifindex) == GPON_TEMPLATE_SLOT)
        return "onu-srvprofile " + std::to_string(ov_ifindex_get_subport_id(ifindex));
    const char* name = ov_get_ifname_by_ifindex(ifindex);
    return name != nullptr ? name : "";
}

// The attributes that wait, as bits.
std::string changed_text(uint32_t sflag) {
    char text[16];
    snprintf(text, sizeof text, "0x%x", sflag);
    return text;
}

// Dumps a list: a step's worth of objects at a time, from the key on at which the last one ended.
template <typename Object, typename Cells>
int dump_list(struct vty* vty, std::span<const kavo_column_t> columns, QosList<Object>& list, Cells cells) {
    const kavo_table_t table(vty, columns);
    table.heading();
    return gpon_show_in_steps(vty, [table, &list, cells, next = uint32_t{0}]() mutable {
        auto at = list.at_or_above(next);
        for (int shown = 0; at != list.end() && shown < OBJECTS_OF_A_STEP; ++at, shown++)
            table.row(cells(*at));
        if (at == list.end()) {
            table.line("total %zu", list.size());
            return false;
        }
        next = (*at).ifindex;
        return true;
    });
}

// ---- ONUs -------------------------------------------------------------------------------------------------

constexpr kavo_column_t ONU_COLUMNS[] = {
    {"onu", -18},          {"scheduler", 9},        {"traffic", 7}, {"cos-queue-map", 13},
    {"cos-to-cos-up", 13}, {"cos-to-cos-down", 15}, {"min", 8},     {"max", 8},
    {"weight", 6},         {"changed", 7}};

int ov_app_dump_onu_qos_cli(CliCall& call) {
    return dump_list(call.vty, ONU_COLUMNS, g_onu_qos_list, [](const ov_app_onu_qos_s& qos) {
        return std::vector<kavo_cell_t>{name_of(qos.ifindex),
                                        qos.qos_sched_profile_id,
                                        qos.qos_traffic_profile_id,
                                        qos.cosq_profile_id,
                                        qos.cos_to_cos_profile_id[QOS_UP_LINK],
                                        qos.cos_to_cos_profile_id[QOS_DOWN_LINK],
                                        qos.min_bw,
                                        qos.max_bw,
                                        qos.weight,
                                        changed_text(qos.sflag)};
    });
}

// ---- ports ------------------------------------------------------------------------------------------------

constexpr kavo_column_t PORT_COLUMNS[] = {
    {"port", -15},         {"model", -9},         {"scheduler", 9},        {"traffic", 7},
    {"cos-queue-map", 13}, {"cos-to-cos-up", 13}, {"cos-to-cos-down", 15}, {"changed", 7}};

int ov_app_dump_port_qos_cli(CliCall& call) {
    return dump_list(call.vty, PORT_COLUMNS, g_port_qos_list, [](const ov_app_port_qos_s& qos) {
        return std::vector<kavo_cell_t>{name_of(qos.ifindex),
                                        qos.qos_model == OV_QOS_SCHED_HIERARCHY ? "hierarchy" : "simple",
                                        qos.qos_sched_profile_id,
                                        qos.qos_traffic_profile_id,
                                        qos.cosq_map_profile_id,
                                        qos.cos_to_cos_profile_id[QOS_UP_LINK],
                                        qos.cos_to_cos_profile_id[QOS_DOWN_LINK],
                                        changed_text(qos.sflag)};
    });
}

// ---- service ports ----------------------------------------------------------------------------------------

constexpr kavo_column_t SERVPORT_COLUMNS[] = {
    {"onu", -18}, {"service-port", 12}, {"cos-to-cos-up", 13}, {"cos-to-cos-down", 15}, {"changed", 7}};

const ov_app_service_port_qos_s& object_of(const avl_node_s& node) {
    return *static_cast<const ov_app_service_port_qos_s*>(node.info);
}

// The first object from an index on.
const avl_node_s* first_from(ov_ifindex_t index) {
    const avl_node_s* found = nullptr;
    const avl_node_s* node =
        g_service_port_qos_avl_entry != nullptr ? g_service_port_qos_avl_entry->root : nullptr;
    while (node != nullptr) {
        const bool is_above = object_of(*node).index >= index;
        found = is_above ? node : found;
        node = is_above ? node->left : node->right;
    }
    return found;
}

void dump_service_port(const kavo_table_t& table, const ov_app_service_port_qos_s& qos) {
    const auto key = service_port_key_of_ifindex<ov_servicePortTable_attr_t>(qos.index);
    table.row({name_of(onu_ifindex_of(key)), key.servicePortId, qos.cos_to_cos_profile_id[QOS_UP_LINK],
               qos.cos_to_cos_profile_id[QOS_DOWN_LINK], changed_text(qos.sflag)});
}

int ov_app_dump_servport_qos_cli(CliCall& call) {
    const kavo_table_t table(call.vty, SERVPORT_COLUMNS);
    table.heading();
    return gpon_show_in_steps(call.vty, [table, next = ov_ifindex_t{0}]() mutable {
        const avl_node_s* node = first_from(next);
        for (int shown = 0; node != nullptr && shown < OBJECTS_OF_A_STEP; shown++) {
            dump_service_port(table, object_of(*node));
            node = avl_next_sort(node);
        }
        if (node == nullptr) {
            table.line("total %d", g_service_port_qos_avl_entry != nullptr
                                       ? avl_get_tree_size(g_service_port_qos_avl_entry)
                                       : 0);
            return false;
        }
        next = object_of(*node).index;
        return true;
    });
}

const kavo_cmd_t qos_dump_cmds[] = {
#include "commands/qos_dump.def"
};

} // namespace

void gpon_qos_dump_cli_init() {
    kavo_cmd_install(qos_dump_cmds);
}
