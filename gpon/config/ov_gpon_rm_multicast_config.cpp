// The saved configuration of multicast at ONUs' UNIs.
#include "cli_forms.h"
#include "command_syntaxes.h"
#include "ov_gpon_rm_config.h"
#include "rm/ov_gpon_rm_uni_word.h"
#include "sRmMulticastTable.h"
#include "sRmUniStatusTable.h"

namespace {

using UniStatus = ov_sRmUniStatusTable_attr_t;
using Multicast = ov_sRmMulticastTable_attr_t;

// What a UNI does with one direction's VLAN.
struct VlanOfDirection {
    const char* direction;
    mib_long vlan;
    mib_long new_vlan;
    mib_long action;
};

const CliForms& vlan_forms() {
    static const CliForms forms(gpon_command_syntaxes(), {"ETHUNI", "down", "up", "vlan", "untag",
                                                          "transparent", "strip", "xlate", "add"});
    return forms;
}

// The command that makes it, empty when there is none.
std::string line_of(const std::string& uni, const VlanOfDirection& of) {
    const bool upstream = std::string_view(of.direction) == "up";
    const CliValue given = CliValue::given(true);
    const CliValue down = CliValue::given(!upstream);
    const CliValue up = CliValue::given(upstream);
    const CliValue untag = CliValue::given(of.vlan == 0);
    const CliValue vlan = of.vlan != 0 ? CliValue(of.vlan) : given;
    switch (of.action) {
    case SRMMULTICASTTABLEUPVLANACTION_TRANSPARENT:
        return vlan_forms().line({uni, down, up, of.vlan, {}, given, {}, {}, {}});
    case SRMMULTICASTTABLEUPVLANACTION_XLATE:
        return vlan_forms().line({uni, down, up, of.vlan, {}, {}, {}, of.new_vlan, {}});
    case SRMMULTICASTTABLEUPVLANACTION_STRIP:
        return vlan_forms().line({uni, down, up, of.vlan, {}, {}, given, {}, {}});
    case SRMMULTICASTTABLEUPVLANACTION_ADD:
        return vlan_forms().line({uni, down, up, vlan, untag, {}, {}, {}, of.new_vlan});
    default:
        return "";
    }
}

int print_vlans(struct vty* vty, const gpon_config_onu_t& onu, const Multicast& row) {
    const VlanOfDirection directions[] = {{"down", row.sRmMulticastTableDownVlan,
                                           row.sRmMulticastTableDownUniVlan,
                                           row.sRmMulticastTableDownVlanAction},
                                          {"up", row.sRmMulticastTableUpVlan, row.sRmMulticastTableUpPonVlan,
                                           row.sRmMulticastTableUpVlanAction}};
    const std::string uni = gpon_rm_uni_word(row);
    int lines = 0;
    for (const VlanOfDirection& one : directions)
        if (one.action != SRMMULTICASTTABLEUPVLANACTION_NONE)
            lines += gpon_rm_config_print(vty, onu, "multicast " + uni + " " + one.direction + " vlan",
                                          line_of(uni, one));
    return lines;
}

} // namespace

// The switch comes first: the other settings stand in a row that is there while it is on. No command makes
// one of a service profile.
int ov_gpon_cli_rm_mcast_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    const auto node = gpon_rm_config_node(onu);
    if (node != GPON_ONU_NODE)
        return 0;
    int lines = gpon_rm_config_settings<UniStatus, cli_objects::rm_uni_multicast>(vty, onu);
    for (const Multicast& row : rows_under(gpon_config_key_of<Multicast>(onu), INDEX_TO_ONU)) {
        lines += cli_settings_print(vty, cli_objects::rm_multicast, &row, node);
        lines += print_vlans(vty, onu, row);
    }
    return lines;
}
