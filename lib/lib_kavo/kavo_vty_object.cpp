#include "kavo_vty_object.h"

#include <cstring>
#include <string_view>

#include "cli_call.h"
#include "kavo_if.h"
#include "kavo_trunk.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"

namespace {

int not_exist(struct vty* vty, const char* name) {
    ov_refusal_because("no interface \"%s\"", name);
    vty_out(vty, "%% Interface[%s] not exist%s", name, kavo_newline(vty));
    // Nobody reads the answers while a saved configuration is typed in.
    if (!ov_product_sys_oper_status_get())
        OV_LOG_ERROR("cli_recovery", "Interface[%s] not exist", name);
    return KAVO_CLI_BAD_INPUT;
}

int enter(struct vty* vty, enum node_type node, void* record) {
    vty->node = node;
    vty->index = record;
    return 0;
}

} // namespace

enum node_type kavo_node_of_interface(std::string_view name) {
    if (name.starts_with("gpon-olt"))
        return IF_GPON_NODE;
    if (name.starts_with("gpon-onu"))
        return GPON_ONU_NODE;
    return IF_NODE;
}

int ov_get_ifindex_from_vtysh(const struct vty* vty, ov_ifindex_t* ifindex) {
    if (vty == nullptr || ifindex == nullptr)
        return -1;
    if (vty->node != IF_NODE) {
        *ifindex = static_cast<ov_ifindex_t>(reinterpret_cast<uintptr_t>(vty->index));
        return 0;
    }
    const auto* const port = static_cast<const uif_t*>(vty->index);
    if (port == nullptr || port->ifindex == 0)
        return -1;
    *ifindex = port->ifindex;
    return 0;
}

void kavo_vty_set_index(struct vty* vty, ov_ifindex_t ifindex) {
    vty->index = reinterpret_cast<void*>(uintptr_t{ifindex});
}

int kavo_interface_cli(CliCall& call) {
    const char* name = call.words.text("IFNAME");
    const size_t length = strlen(name);
    if (length > KAVO_INTERFACE_NAME_MAX)
        return not_exist(call.vty, name);
    if (std::string_view(name).starts_with("vlanif"))
        return 0;

    if (std::string_view(name).starts_with("trunk")) {
        trunk_t* trunk = trunk_get_by_name(name);
        return trunk != nullptr ? enter(call.vty, IF_TRUNK_NODE, trunk) : not_exist(call.vty, name);
    }
    uif_t* uif = uif_lookup_by_name_len(name, static_cast<uint32_t>(length));
    if (uif == nullptr)
        uif = uif_get_by_name(name); // as an operator may shorten it
    return uif != nullptr ? enter(call.vty, kavo_node_of_interface(uif->name), uif)
                          : not_exist(call.vty, name);
}
