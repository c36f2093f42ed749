#include "gpon_vty.h"

#include "cli_themes.h"
#include "gpon_config_writer.h"
#include "mib_inspect_vty.h"
#include "mib_vty.h"
#include "resource_vty.h"

namespace {

using Writer = int(struct vty*);

struct cmd_node make_node(const char* name, enum node_type number, Writer* writer = nullptr,
                          enum node_type parent = CONFIG_NODE) {
    struct cmd_node node = {};
    node.name = name;
    node.node = number;
    node.parent_node = parent;
    node.prompt = "";
    node.config_write = writer;
    return node;
}

} // namespace

struct cmd_node if_node = make_node("uplink port", IF_NODE, ov_gpon_cli_uplink_if_cfg);
struct cmd_node vlan_node = make_node("vlan", VLAN_NODE);
struct cmd_node trunk_node = make_node("trunk", IF_TRUNK_NODE);
struct cmd_node gpon_if_node = make_node("pon port", IF_GPON_NODE, ov_gpon_cli_pon_port_cfg);
struct cmd_node gpon_node = make_node("gpon", GPON_NODE, ov_gpon_cli_gpon_cfg);
struct cmd_node onu_srv_profile_node =
    make_node("onu service profile", ONU_SRV_PROFILE_NODE, ov_gpon_cli_onu_cfg, GPON_NODE);
struct cmd_node gpon_onu_node = make_node("onu", GPON_ONU_NODE, ov_gpon_cli_onu_cfg);
struct cmd_node qinq_node = make_node("qinq", QINQ_NODE, ov_gpon_qinq_vtysh_cfg);
struct cmd_node rm_gpon_onu_node = make_node("onu remote management", RM_GPON_ONU_NODE);
struct cmd_node mvlan_node = make_node("multicast vlan", MCAST_VLAN_NODE);

void gpon_vty_install_node(struct cmd_node& node) {
    install_node(&node);
    install_default(node.node);
}

void gpon_vty_init() {
    for (struct cmd_node* node : {&if_node, &vlan_node, &trunk_node, &gpon_if_node, &gpon_node,
                                  &onu_srv_profile_node, &gpon_onu_node})
        gpon_vty_install_node(*node);
    cmd_write_current_head = gpon_config_current_head;

    init_qos_vtysh();
    gpon_vty_cli_init();
    gpon_vty_olt_cli_init();
    gpon_vty_onu_cli_init();
    gpon_vty_rm_cli_init();
    qinq_cmd_init();
    mib_table_vty_init();
    mib_inspect_vty_init();
    resource_vty_init();
}
