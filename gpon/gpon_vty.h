// The daemon's command nodes, and the order in which nodes and commands are installed.
#pragma once

#include "kavo_frr.h"

// One record for each kind of object that an operator can stand on. Their prompts are the shell's.
extern struct cmd_node if_node;              // an uplink port
extern struct cmd_node vlan_node;            // a VLAN
extern struct cmd_node trunk_node;           // a trunk
extern struct cmd_node gpon_if_node;         // a PON port
extern struct cmd_node gpon_node;            // profiles and settings of the whole system
extern struct cmd_node onu_srv_profile_node; // an ONU service profile
extern struct cmd_node gpon_onu_node;        // an ONU
extern struct cmd_node qinq_node;            // QinQ rules
extern struct cmd_node rm_gpon_onu_node;     // not installed: remote management stands on the ONU's node
extern struct cmd_node mvlan_node;           // not installed: multicast VLANs have no commands

// Installs a node with the library's default commands.
void gpon_vty_install_node(struct cmd_node& node);

// Installs all nodes with their writers, then the commands theme by theme. Main thread, behind vty_init and
// before the command trees are sorted.
void gpon_vty_init();
