// Makes rows of a kavo_cmd_t table of the lines of a command data file:
//
//   const kavo_cmd_t slot_cmds[] = {
//   #include "slot_vty.def"
//   };
//
// The form of the files is told in gpon/commands/README.md. For .cpp files only.
#pragma once

#include "cli_call.h"

// The letters that data files name nodes by.
namespace kavo_cmd_node_letters {
inline constexpr enum node_type VIEW = VIEW_NODE;
inline constexpr enum node_type E = ENABLE_NODE;
inline constexpr enum node_type C = CONFIG_NODE;
inline constexpr enum node_type G = GPON_NODE;
inline constexpr enum node_type S = ONU_SRV_PROFILE_NODE;
inline constexpr enum node_type I = IF_NODE;
inline constexpr enum node_type P = IF_GPON_NODE;
inline constexpr enum node_type O = GPON_ONU_NODE;
inline constexpr enum node_type Q = QINQ_NODE;
inline constexpr enum node_type DEBUG = DEBUG_NODE;
} // namespace kavo_cmd_node_letters
using namespace kavo_cmd_node_letters;

// In parentheses, so that it stays one argument when a macro hands it on.
#define NODES(...) (kavo_cmd_nodes_t{__VA_ARGS__})
#define GPON_CMD(handler, nodes, syntax, help) {nodes, syntax, help, handler},
