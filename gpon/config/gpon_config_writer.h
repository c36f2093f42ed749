// The writers of the saved configuration: one for each node, called by "write terminal" and its kin. What is
// asked for stands in the session: write_term_flag, and for one object the head line of its block in
// write_term_info. A writer prints its blocks and returns how many lines it printed.
//
// A big configuration is printed in steps, between which the event loop serves others: a writer that has
// printed enough for one returns with write_term_more set and is called again (see struct vty). What is
// changed meanwhile is printed as it is when its turn comes.
#pragma once

#include <cstddef>

struct vty;

// The profiles and the settings of the whole system.
int ov_gpon_cli_gpon_cfg(struct vty* vty);
// The PON ports.
int ov_gpon_cli_pon_port_cfg(struct vty* vty);
// The uplink ports.
int ov_gpon_cli_uplink_if_cfg(struct vty* vty);
// The ONUs; on the node of ONU service profiles, those.
int ov_gpon_cli_onu_cfg(struct vty* vty);
// The ONU service profiles with their names and template rows.
int ov_gpon_cli_onu_srvprofile_setname_cfg(struct vty* vty);

// Whether the block of an interface is asked for.
bool gpon_config_port_wanted(const struct vty* vty, const char* name);

// For "write terminal current": the head line of the block of the session's object, "" on a node whose block
// has no object.
void gpon_config_current_head(struct vty* vty, char* head, size_t size);
