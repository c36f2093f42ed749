// The daemon's command nodes, and the order in which nodes and commands are installed.
#pragma once

#include "kavo_frr.h"

// One record for each line of commands/nodes.def.
#define NODE(record, number, name, parent, writer) extern struct cmd_node record;
#define RESERVED_NODE(record, number, name) extern struct cmd_node record;
#include "commands/nodes.def"
#undef NODE
#undef RESERVED_NODE

// Installs a node with the library's default commands.
void gpon_vty_install_node(struct cmd_node& node);

// Installs all nodes with their writers, then the commands theme by theme. Main thread, behind vty_init and
// before the command trees are sorted.
void gpon_vty_init();
