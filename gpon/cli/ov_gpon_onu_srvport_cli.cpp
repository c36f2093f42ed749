// Service ports of an ONU, or of a service profile.
#include "ov_app_gpon_service_port.h"

#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_gpon_onu_cli.h"
#include "sGemTable.h"
#include "table_value_name.h"

namespace {

using namespace servicePortTable_column;
using ServicePort = ov_servicePortTable_attr_t;

constexpr char NOT_SET[] = "%%Could not set service port: %d%s";
constexpr char NOT_FOUND[] = "%%Could not find service port: %d%s";

ServicePort port_of(const struct vty* vty, const char* number) {
    ServicePort row = gpon_cli_onu_key<ServicePort>(vty);
    row.servicePortId = gpon_cli_number(number);
    return row;
}

// ---- new ones -------------------------------------------------------------------------------------------

// A service port as its words put it together: every column that they give is written.
struct NewServicePort {
    ServicePort row;
    MIB_Flags_t flags = {};

    // <1-32> <1-30>, and what is done with tags
    NewServicePort(const struct vty* vty, const char** argv, servicePortTable_value action)
        : row(port_of(vty, argv[0])) {
        put(&ServicePort::servicePortGemId, servicePortGemId, gpon_cli_number(argv[1]));
        put(&ServicePort::servicePortVlanAction, servicePortVlanAction, action);
    }

    void put(mib_long ServicePort::*field, unsigned column, mib_long value) {
        row.*field = value;
        mib_flag_set(flags, column);
    }
    void user_vlan(const char* word) {
        put(&ServicePort::servicePortUserVlan, servicePortUserVlan, gpon_cli_number(word));
    }
    void vlan(const char* word) {
        put(&ServicePort::servicePortVlan, servicePortVlan, gpon_cli_number(word));
    }
    void priority(const char* word) {
        put(&ServicePort::servicePortVlanPrio, servicePortVlanPrio, gpon_cli_number(word));
        put(&ServicePort::servicePortVlanPrioAction, servicePortVlanPrioAction,
            SERVICEPORTVLANPRIOACTION_NEW);
    }
    // <1-4094> (<0-7>|copy)
    void outer(const char* const* words) {
        put(&ServicePort::servicePortSvlan, servicePortSvlan, gpon_cli_number(words[0]));
        if (words[1][0] == 'c') {
            put(&ServicePort::servicePortSvlanPrioAction, servicePortSvlanPrioAction,
                SERVICEPORTSVLANPRIOACTION_COPY);
            return;
        }
        put(&ServicePort::servicePortSvlanPrio, servicePortSvlanPrio, gpon_cli_number(words[1]));
        put(&ServicePort::servicePortSvlanPrioAction, servicePortSvlanPrioAction,
            SERVICEPORTSVLANPRIOACTION_NEW);
    }
};

int assign(struct vty* vty, NewServicePort& port) {
    auto gem = onu_key<ov_sGemTable_attr_t>(port.row);
    gem.gemID = static_cast<mib_ulong>(port.row.servicePortGemId);
    if (find_row(gem) == nullptr)
        return gpon_cli_fail_of(vty, "%%Could not find gemport: %d%s", port.row.servicePortGemId,
                                KAVO_CLI_BAD_INPUT);
    if (ov_app_gpon_service_port_add(&port.row, port.flags) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail_of(vty, "%%Could not assign service port: %d%s", port.row.servicePortId);
}

int ov_gpon_srvport_gemport_xparent_all_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                            const char** argv) {
    NewServicePort port(vty, argv, SERVICEPORTVLANACTION_ALLTRANSPARENT);
    return assign(vty, port);
}

// ... user-vlan <1-4094> transparent
int ov_gpon_srvport_gemport_xparent_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                        const char** argv) {
    NewServicePort port(vty, argv, SERVICEPORTVLANACTION_TRANSPARENT);
    port.user_vlan(argv[2]);
    return assign(vty, port);
}

// ... user-vlan <1-4094> vlan <1-4094> [priority <0-7>]
int ov_gpon_srvport_gemport_vlan_xlate_cli(struct cmd_element* /*self*/, struct vty* vty, int argc,
                                           const char** argv) {
    NewServicePort port(vty, argv, SERVICEPORTVLANACTION_XLATE);
    port.user_vlan(argv[2]);
    port.vlan(argv[3]);
    if (argc > 4)
        port.priority(argv[4]);
    return assign(vty, port);
}

// ... user-vlan <1-4094> vlan <1-4094> [priority <0-7>] svlan <1-4094> priority (<0-7>|copy)
int ov_gpon_srvport_gemport_vlan_xlate_add_cli(struct cmd_element* /*self*/, struct vty* vty, int argc,
                                               const char** argv) {
    NewServicePort port(vty, argv, SERVICEPORTVLANACTION_ADD);
    port.user_vlan(argv[2]);
    port.vlan(argv[3]);
    if (argc > 6)
        port.priority(argv[4]);
    port.outer(argv + argc - 2);
    return assign(vty, port);
}

servicePortTable_value add_action(const char* traffic) {
    switch (traffic[0]) {
    case 'u':
        return SERVICEPORTVLANACTION_ADDUNTAGGED;
    case 't':
        return SERVICEPORTVLANACTION_ADDTAGGED;
    default:
        return SERVICEPORTVLANACTION_ADDALWAYS;
    }
}

// ... user-vlan (untagged|tagged|all) vlan-add <1-4094> [priority <0-7>]
int ov_gpon_srvport_gemport_vlan_add_cli(struct cmd_element* /*self*/, struct vty* vty, int argc,
                                         const char** argv) {
    NewServicePort port(vty, argv, add_action(argv[2]));
    port.vlan(argv[3]);
    if (argc > 4)
        port.priority(argv[4]);
    return assign(vty, port);
}

// ---- those that are there -------------------------------------------------------------------------------

int edit(struct vty* vty, ServicePort& row, std::initializer_list<unsigned> columns) {
    if (find_row(row) == nullptr)
        return gpon_cli_fail_of(vty, NOT_FOUND, row.servicePortId, KAVO_CLI_BAD_INPUT);
    if (ov_app_gpon_service_port_edit(&row, gpon_cli_columns(columns)) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail_of(vty, NOT_SET, row.servicePortId);
}

int ov_gpon_onu_mac_limit_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                              const char** argv) {
    ServicePort row = port_of(vty, argv[0]);
    row.servicePortMacLimit = gpon_cli_number(argv[1]);
    return edit(vty, row, {servicePortMacLimit});
}

int ov_gpon_onu_macmove_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/, const char** argv) {
    ServicePort row = port_of(vty, argv[0]);
    row.servicePortMacmove =
        gpon_cli_is_enable(argv[1]) ? SERVICEPORTMACMOVE_ENABLE : SERVICEPORTMACMOVE_DISABLE;
    return edit(vty, row, {servicePortMacmove});
}

// The default queue is 0, chosen directly like any other.
int ov_gpon_srvport_queue_direct_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                     const char** argv) {
    ServicePort row = port_of(vty, argv[0]);
    row.servicePortQueue = argv[1][0] == 'd' ? 0 : gpon_cli_number(argv[1]);
    row.servicePortQueueSelectMode = SERVICEPORTQUEUESELECTMODE_DIRECTLY;
    return edit(vty, row, {servicePortQueue, servicePortQueueSelectMode});
}

int ov_gpon_no_srvport_gemport_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                   const char** argv) {
    ServicePort row = port_of(vty, argv[0]);
    if (find_row(row) == nullptr)
        return gpon_cli_fail_of(vty, NOT_FOUND, row.servicePortId, KAVO_CLI_BAD_INPUT);
    if (ov_app_gpon_service_port_del(&row) == OV_GPON_RET_OK)
        return 0;
    return gpon_cli_fail_of(vty, NOT_SET, row.servicePortId);
}

// ---- what is shown --------------------------------------------------------------------------------------

// The name of a number of an enumeration, the number itself for any other.
std::string value_name(unsigned column, mib_long value) {
    return table_value_text(table_desc_servicePortTable.column(static_cast<int>(column))->names, value);
}

// A priority that is set; any other is taken from the traffic.
std::string priority_text(mib_long action, mib_long priority) {
    return action == SERVICEPORTVLANPRIOACTION_NEW ? std::to_string(priority)
                                                   : value_name(servicePortVlanPrioAction, action);
}

// A queue, or the profile that chooses it.
std::string queue_text(const ServicePort& row) {
    if (row.servicePortQueueSelectMode == SERVICEPORTQUEUESELECTMODE_DIRECTLY)
        return std::to_string(row.servicePortQueue);
    return "map " + std::to_string(row.servicePortCosQueueMappingProfileId);
}

constexpr kavo_column_t COLUMNS[] = {
    {"port", -4},  {"gem", 4},       {"user-vlan", 9}, {"action", -14},
    {"vlan", 5},   {"priority", -8}, {"svlan", 5},     {"priority", -8, "svlan_priority"},
    {"queue", -6}, {"mac-limit", 9}, {"mac-move", -8}};

void print_port(const kavo_table_t& table, const ServicePort& row) {
    table.row({row.servicePortId, row.servicePortGemId, row.servicePortUserVlan,
               value_name(servicePortVlanAction, row.servicePortVlanAction), row.servicePortVlan,
               priority_text(row.servicePortVlanPrioAction, row.servicePortVlanPrio), row.servicePortSvlan,
               priority_text(row.servicePortSvlanPrioAction, row.servicePortSvlanPrio), queue_text(row),
               row.servicePortMacLimit, value_name(servicePortMacmove, row.servicePortMacmove)});
}

int ov_gpon_show_srvport_gemport_cli(struct cmd_element* /*self*/, struct vty* vty, int /*argc*/,
                                     const char** argv) {
    const ov_ifindex_t onu = gpon_cli_onu_by_name(vty, argv[0]);
    if (onu == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    const kavo_table_t table(vty, COLUMNS);
    int count = 0;
    table.line("%s", "");
    table.heading();
    for (const ServicePort& row : rows_under(onu_key_of_ifindex<ServicePort>(onu), INDEX_TO_ONU)) {
        print_port(table, row);
        count++;
    }
    table.line("total %d", count);
    return 0;
}

const kavo_cmd_t onu_srvport_cmds[] = {
#include "commands/onu_srvport.def"
};

} // namespace

void gpon_onu_srvport_cli_init() {
    kavo_cmd_install(onu_srvport_cmds);
}
