// The object that the commands of the current node work on. Event loop's thread.
#pragma once

#include <cstddef>
#include <string_view>

#include "kavo_frr.h"
#include "ov_types.h"

class CliCall;

// The longest name that is looked up.
inline constexpr size_t KAVO_INTERFACE_NAME_MAX = 20;

// Gives the index of the current object: on the uplink port node the first word of the interface record that
// the session points at, on any other node the session's index itself, as a number. Returns 0, or -1 for a
// null argument, or a port node without a record or with that of a port which is gone; *ifindex is then
// untouched.
int ov_get_ifindex_from_vtysh(const struct vty* vty, ov_ifindex_t* ifindex);

// Makes a number the session's object.
void kavo_vty_set_index(struct vty* vty, ov_ifindex_t ifindex);

// The node of an interface of the list, by its full name: a PON port, an ONU, or else an uplink port.
enum node_type kavo_node_of_interface(std::string_view name);

// The plain "interface IFNAME", with the name as the interface list has it or shortened. Enters node
// 42 with a trunk's record, 47, 131 or 43 with the interface's as the session's object. A name that begins
// with "vlanif" is another daemon's: it counts as success and nothing is entered. A name of more than 20
// characters or one that isn't known gives KAVO_CLI_BAD_INPUT, with a line for the operator, and the session
// stays where it is; while the system is starting the name is logged too.
int kavo_interface_cli(CliCall& call);
