// Service ports of an ONU, or of a service profile.
#include "ov_app_gpon_service_port.h"

#include "cli_command_rows.h"
#include "cli_objects.h"
#include "gpon_cli_scope.h"
#include "kavo_table.h"
#include "ov_gpon_onu_cli.h"
#include "ov_refusal.h"
#include "sGemTable.h"
#include "table_value_name.h"

namespace {

using namespace servicePortTable_column;
using ServicePort = ov_servicePortTable_attr_t;

ServicePort port_of(const CliCall& call) {
    ServicePort row = gpon_cli_onu_key<ServicePort>(call.vty);
    row.servicePortId = call.words.number("service-port");
    return row;
}

// ---- new ones -------------------------------------------------------------------------------------------

// What is done with tags, as the words of the line tell.
servicePortTable_value action_of(const CliWords& words) {
    if (words.has("vlan-add"))
        return words.has("untagged") ? SERVICEPORTVLANACTION_ADDUNTAGGED
               : words.has("tagged") ? SERVICEPORTVLANACTION_ADDTAGGED
                                     : SERVICEPORTVLANACTION_ADDALWAYS;
    if (words.has("svlan"))
        return SERVICEPORTVLANACTION_ADD;
    if (words.has("vlan"))
        return SERVICEPORTVLANACTION_XLATE;
    return words.has("transparent") ? SERVICEPORTVLANACTION_TRANSPARENT
                                    : SERVICEPORTVLANACTION_ALLTRANSPARENT;
}

// A column that an argument gives its number, if the line has the argument and it is one.
struct NumberWord {
    const char* name;
    mib_long ServicePort::*field;
    unsigned column;
};
constexpr NumberWord NUMBERS[] = {
    {"gemport", &ServicePort::servicePortGemId, servicePortGemId},
    {"user-vlan", &ServicePort::servicePortUserVlan, servicePortUserVlan},
    {"vlan", &ServicePort::servicePortVlan, servicePortVlan},
    {"vlan-add", &ServicePort::servicePortVlan, servicePortVlan},
    {"vlan priority", &ServicePort::servicePortVlanPrio, servicePortVlanPrio},
    {"vlan-add priority", &ServicePort::servicePortVlanPrio, servicePortVlanPrio},
    {"svlan", &ServicePort::servicePortSvlan, servicePortSvlan},
    {"svlan priority", &ServicePort::servicePortSvlanPrio, servicePortSvlanPrio},
};

// A service port as its words put it together: every column that they give is written.
struct NewServicePort {
    ServicePort row;
    MIB_Flags_t flags = {};

    explicit NewServicePort(const CliCall& call) : row(port_of(call)) {
        put(&ServicePort::servicePortVlanAction, servicePortVlanAction, action_of(call.words));
        for (const NumberWord& number : NUMBERS)
            if (const char* word = call.words.text_or(number.name, ""); word[0] >= '0' && word[0] <= '9')
                put(number.field, number.column, call.words.number(number.name));
        if (mib_flag_is_set(flags, servicePortVlanPrio))
            put(&ServicePort::servicePortVlanPrioAction, servicePortVlanPrioAction,
                SERVICEPORTVLANPRIOACTION_NEW);
        if (mib_flag_is_set(flags, servicePortSvlan))
            put(&ServicePort::servicePortSvlanPrioAction, servicePortSvlanPrioAction,
                call.words.has("copy") ? SERVICEPORTSVLANPRIOACTION_COPY : SERVICEPORTSVLANPRIOACTION_NEW);
    }
    void put(mib_long ServicePort::*field, unsigned column, mib_long value) {
        row.*field = value;
        mib_flag_set(flags, column);
    }
};

int assign_service_port(CliCall& call) {
    NewServicePort port(call);
    auto gem = onu_key<ov_sGemTable_attr_t>(port.row);
    gem.gemID = static_cast<mib_ulong>(port.row.servicePortGemId);
    if (find_row(gem) == nullptr) {
        ov_refusal_because("the ONU has no GEM port %d", port.row.servicePortGemId);
        return call.fail_of("%%Could not find gemport: %d%s", port.row.servicePortGemId, KAVO_CLI_BAD_INPUT);
    }
    if (ov_app_gpon_service_port_add(&port.row, port.flags) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Could not assign service port: %d%s", port.row.servicePortId);
}

// The system's names for the forms of the command; what a line names tells them apart.
constexpr auto* ov_gpon_srvport_gemport_xparent_all_cli = assign_service_port;
constexpr auto* ov_gpon_srvport_gemport_xparent_cli = assign_service_port;
constexpr auto* ov_gpon_srvport_gemport_vlan_xlate_cli = assign_service_port;
constexpr auto* ov_gpon_srvport_gemport_vlan_xlate_add_cli = assign_service_port;
constexpr auto* ov_gpon_srvport_gemport_vlan_add_cli = assign_service_port;

// ---- those that are there -------------------------------------------------------------------------------

int ov_gpon_no_srvport_gemport_cli(CliCall& call) {
    ServicePort row = port_of(call);
    if (find_row(row) == nullptr) {
        ov_refusal_because("the ONU has no service port %d", row.servicePortId);
        return call.fail_of("%%Could not find service port: %d%s", row.servicePortId, KAVO_CLI_BAD_INPUT);
    }
    if (ov_app_gpon_service_port_del(&row) == OV_GPON_RET_OK)
        return 0;
    return call.fail_of("%%Could not set service port: %d%s", row.servicePortId);
}

// The default queue is 0, chosen directly like any other.
constexpr ColName QUEUE_WORDS[] = {{0, "default"}};

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

int ov_gpon_show_srvport_gemport_cli(CliCall& call) {
    const ov_ifindex_t onu = gpon_cli_onu_of(call);
    if (onu == OV_IFINDEX_INVALID)
        return KAVO_CLI_BAD_INPUT;
    const kavo_table_t table(call.vty, COLUMNS);
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

using namespace cli_objects;
const CliCommand onu_srvport_cmds[] = {
#include "commands/onu_srvport.def"
};

} // namespace

void gpon_onu_srvport_cli_init() {
    cli_install(onu_srvport_cmds);
}
