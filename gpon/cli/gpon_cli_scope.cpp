#include "gpon_cli_scope.h"

#include "cli_call.h"
#include "kavo_if.h"
#include "kavo_vty_object.h"
#include "ov_refusal.h"

void gpon_cli_scope_t::narrow_to_port(ov_ifindex_t port_index) {
    slot = static_cast<mib_long>(ov_ifindex_get_slot_id(port_index));
    port = static_cast<mib_long>(ov_ifindex_get_port_id(port_index));
}

void gpon_cli_scope_t::narrow_to_onu(ov_ifindex_t onu_index) {
    narrow_to_port(onu_index);
    onu = static_cast<mib_long>(ov_ifindex_get_subport_id(onu_index));
}

gpon_cli_scope_t gpon_cli_scope_of(const struct vty* vty) {
    gpon_cli_scope_t scope;
    ov_ifindex_t ifindex = 0;
    if (vty->node == IF_GPON_NODE && ov_get_ifindex_from_vtysh(vty, &ifindex) == 0)
        scope.narrow_to_port(ifindex);
    return scope;
}

gpon_cli_scope_t gpon_cli_object_scope_of(const struct vty* vty) {
    gpon_cli_scope_t scope = gpon_cli_scope_of(vty);
    ov_ifindex_t ifindex = 0;
    if (vty->node == GPON_ONU_NODE && ov_get_ifindex_from_vtysh(vty, &ifindex) == 0)
        scope.narrow_to_onu(ifindex);
    return scope;
}

bool gpon_cli_narrow_to_port(const CliCall& call, gpon_cli_scope_t& scope) {
    const char* name = call.words.text("IFNAME");
    const ov_ifindex_t ifindex = uif_get_ifindex_by_name(name);
    if (ifindex == OV_IFINDEX_INVALID || ov_ifindex_get_port_type(ifindex) != PORT_TYPE_GPON) {
        ov_refusal_because("%s isn't a PON port", name);
        call.line("%% %s is not a PON port", name);
        return false;
    }
    scope.narrow_to_port(ifindex);
    return true;
}

bool gpon_cli_narrow_to_object(const CliCall& call, gpon_cli_scope_t& scope) {
    const ov_ifindex_t ifindex = uif_get_ifindex_by_name(call.words.text("IFNAME"));
    if (ifindex == OV_IFINDEX_INVALID || ov_ifindex_get_port_type(ifindex) != PORT_TYPE_GONU)
        return gpon_cli_narrow_to_port(call, scope);
    scope.narrow_to_onu(ifindex);
    return true;
}

ov_ifindex_t gpon_cli_onu_of(const CliCall& call) {
    const char* const name = call.words.text("IFNAME");
    const ov_ifindex_t ifindex = uif_get_ifindex_by_name(name);
    if (ifindex == OV_IFINDEX_INVALID) {
        ov_refusal_because("no interface \"%s\"", name);
        call.line("%%Invalid IFNAME: %s", name);
    } else if (ov_ifindex_get_port_type(ifindex) != PORT_TYPE_GONU) {
        ov_refusal_because("%s isn't an ONU", name);
        call.line("%%Interface %s is not onu", name);
        return OV_IFINDEX_INVALID;
    }
    return ifindex;
}
