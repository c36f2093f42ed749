// The two ports of a protection group, and the roles that they have by it (ov_app_gpon_pon_role.h). For the
// sources of this room. Main loop only.
#pragma once

#include "ov_app_gpon_pon_role.h"
#include "ov_ifindex.h"
#include "portProtectTable.h"

namespace pon_protect {

// The columns are signed; indexes of ports stay below 2^31.
inline ov_ifindex_t working_port(const ov_portProtectTable_attr_t& group) {
    return static_cast<ov_ifindex_t>(group.ppWorkPonIfindex);
}
inline ov_ifindex_t protecting_port(const ov_portProtectTable_attr_t& group) {
    return static_cast<ov_ifindex_t>(group.ppProtectPonIfindex);
}
inline bool is_member(const ov_portProtectTable_attr_t& group, ov_ifindex_t port) {
    return port != 0 && (port == working_port(group) || port == protecting_port(group));
}
inline ov_ifindex_t other_port(const ov_portProtectTable_attr_t& group, ov_ifindex_t port) {
    return port == protecting_port(group) ? working_port(group) : protecting_port(group);
}

inline int slot_of(ov_ifindex_t port) {
    return static_cast<int>(ov_ifindex_get_slot_id(port));
}
inline int number_of(ov_ifindex_t port) {
    return static_cast<int>(ov_ifindex_get_port_id(port));
}

inline ov_pon_protect_pon_status_e role_of(ov_ifindex_t port) {
    return ov_pon_protect_group_pon_status_get(slot_of(port), number_of(port));
}
inline void set_role(ov_ifindex_t port, ov_pon_protect_pon_status_e role, ov_ifindex_t partner) {
    ov_pon_protect_group_pon_status_set(slot_of(port), number_of(port), role);
    ov_pon_protect_group_pair_port_index_set(slot_of(port), number_of(port), partner);
}
inline void set_active(ov_ifindex_t port, bool active) {
    ov_pon_protect_group_pon_active_status_set(slot_of(port), number_of(port), active ? 1 : 0);
}

inline void set_port_in_service(const ov_portProtectTable_attr_t& group, ov_ifindex_t port) {
    set_active(port, true);
    set_active(other_port(group, port), false);
}
inline void give_roles(const ov_portProtectTable_attr_t& group) {
    set_role(working_port(group), OV_PON_PROTECT_PON_STATUS_WORKING, protecting_port(group));
    set_role(protecting_port(group), OV_PON_PROTECT_PON_STATUS_PROTECTING, working_port(group));
}
inline void take_roles(const ov_portProtectTable_attr_t& group) {
    for (const ov_ifindex_t port : {working_port(group), protecting_port(group)}) {
        set_role(port, OV_PON_PROTECT_PON_STATUS_NONE, 0);
        set_active(port, false);
    }
}

} // namespace pon_protect
