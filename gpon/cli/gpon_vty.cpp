#include "gpon_vty.h"

#include "chassis_vty.h"
#include "cli_themes.h"
#include "gpon_config_writer.h"
#include "host_vty.h"
#include "kavo_cmd_library.h"
#include "kavo_refusal.h"
#include "kavo_table.h"
#include "loop_vty.h"
#include "mib_inspect_vty.h"
#include "mib_vty.h"
#include "names_vty.h"
#include "ov_gpon.h"
#include "refused_vty.h"
#include "resource_vty.h"
#include "slot_vty.h"

namespace {

using Writer = int(struct vty*);

struct cmd_node make_node(const char* name, enum node_type number, enum node_type parent, Writer* writer) {
    struct cmd_node node = {};
    node.name = name;
    node.node = number;
    node.parent_node = parent;
    node.prompt = "";
    node.config_write = writer;
    return node;
}

} // namespace

#define NODE(record, number, name, parent, writer)                                                           \
    struct cmd_node record = make_node(name, number, parent, writer);
#define RESERVED_NODE(record, number, name) NODE(record, number, name, CONFIG_NODE, nullptr)
#include "commands/nodes.def"
#undef NODE
#undef RESERVED_NODE

void gpon_vty_install_node(struct cmd_node& node) {
    install_node(&node);
    install_default(node.node);
}

void gpon_vty_init() {
    for (struct cmd_node* node : {&if_node, &vlan_node, &trunk_node, &gpon_if_node, &gpon_node,
                                  &onu_srv_profile_node, &gpon_onu_node})
        gpon_vty_install_node(*node);
    cmd_write_current_head = gpon_config_current_head;
    slot_vty_set_replay_query(ov_startup_gpon_config_sync_end_check);

    init_qos_vtysh();
    gpon_vty_cli_init();
    gpon_vty_olt_cli_init();
    gpon_vty_onu_cli_init();
    gpon_vty_rm_cli_init();
    qinq_cmd_init();
    mib_table_vty_init();
    mib_inspect_vty_init();
    resource_vty_init();
    loop_vty_init();
    chassis_vty_init();
    refused_vty_init();
    names_vty_init();
    kavo_table_vty_init();
    kavo_refusal_vty_init();
    host_vty_init();
    kavo_cmd_keep_listed();
}
