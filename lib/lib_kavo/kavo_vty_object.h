// The object that the commands of the current node work on.
#pragma once

#include "ov_types.h"

struct vty;

// Gives the index of the current object: on the uplink port node the first word of the interface record that
// the session points at, on any other node the session's index itself, as a number. Returns 0, or -1 for a
// null argument or a port node without a record; *ifindex is then untouched. Event loop's thread.
int ov_get_ifindex_from_vtysh(const struct vty* vty, ov_ifindex_t* ifindex);
