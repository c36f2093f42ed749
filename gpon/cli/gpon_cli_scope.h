// Which ports' or ONUs' rows a show is asked for.
#pragma once

#include "ov_ifindex.h"
#include "ov_types.h"

class CliCall;
struct vty;

// Numbers of slot, port and ONU; 0 leaves one open.
struct gpon_cli_scope_t {
    static constexpr mib_long ANY = 0;

    mib_long slot = ANY;
    mib_long port = ANY;
    mib_long onu = ANY;

    void narrow_to_port(ov_ifindex_t port_index);
    void narrow_to_onu(ov_ifindex_t onu_index);
};

// On a PON port that port, elsewhere all.
gpon_cli_scope_t gpon_cli_scope_of(const struct vty* vty);
// The same, and on an ONU that ONU.
gpon_cli_scope_t gpon_cli_object_scope_of(const struct vty* vty);

// Narrows to the PON port that a command names, its IFNAME; false, behind a line, for a name that is none of
// a PON port.
bool gpon_cli_narrow_to_port(const CliCall& call, gpon_cli_scope_t& scope);
// The same with the name of a PON port or of an ONU.
bool gpon_cli_narrow_to_object(const CliCall& call, gpon_cli_scope_t& scope);

// The index of the ONU that a command names, its IFNAME. Prints a line and gives OV_IFINDEX_INVALID for a
// name that is none, or none of an ONU.
ov_ifindex_t gpon_cli_onu_of(const CliCall& call);
