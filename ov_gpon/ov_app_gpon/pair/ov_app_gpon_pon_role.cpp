#include "ov_app_gpon_pon_role.h"

#include <memory>
#include <new>

#include "ov_gpon.h"

namespace {

std::unique_ptr<ov_pon_protect_pon_status_t[]> ovPonProtectStatus;

// The record of a port; null for one outside the chassis, or without a store.
ov_pon_protect_pon_status_t* status_of(int slotid, int ponid) {
    if (!ovPonProtectStatus || slotid < 1 || slotid > ov_gpon_maxslot_get() || ponid < 1 ||
        ponid > ov_gpon_maxpon_get())
        return nullptr;
    const int position = (slotid - 1) * ov_gpon_maxpon_get() + ponid - 1;
    return &ovPonProtectStatus[static_cast<size_t>(position)];
}

bool is_synced_with_role(int slotid, int portid, ov_pon_protect_pon_status_e role) {
    return ov_startup_gpon_config_sync_end_check(slotid) == 1 &&
           ov_pon_protect_group_pon_status_get(slotid, portid) == role;
}

} // namespace

uint32_t ov_pon_protect_group_pon_status_init() {
    const auto ports = static_cast<size_t>(ov_gpon_maxslot_get()) * static_cast<size_t>(ov_gpon_maxpon_get());
    ovPonProtectStatus.reset(new (std::nothrow) ov_pon_protect_pon_status_t[ports]());
    return ovPonProtectStatus ? KAVO_OK : KAVO_ERR;
}

ov_pon_protect_pon_status_e ov_pon_protect_group_pon_status_get(int slotid, int ponid) {
    const auto* port = status_of(slotid, ponid);
    return port != nullptr ? port->ponstatus : OV_PON_PROTECT_PON_STATUS_NONE;
}

void ov_pon_protect_group_pon_status_set(int slotid, int ponid, ov_pon_protect_pon_status_e status) {
    if (auto* port = status_of(slotid, ponid))
        port->ponstatus = status;
}

ov_ifindex_t ov_pon_protect_group_get_pair_port_index(int slotid, int ponid) {
    const auto* port = status_of(slotid, ponid);
    return port != nullptr ? port->pairIndex : 0;
}

void ov_pon_protect_group_pair_port_index_set(int slotid, int ponid, ov_ifindex_t index) {
    if (auto* port = status_of(slotid, ponid))
        port->pairIndex = index;
}

void ov_pon_protect_group_pon_active_status_set(int slotid, int ponid, int act) {
    if (auto* port = status_of(slotid, ponid))
        port->is_active = act;
}

int ov_app_gpon_port_is_protect_pon_port(int slotid, int portid) {
    return is_synced_with_role(slotid, portid, OV_PON_PROTECT_PON_STATUS_PROTECTING) ? 1 : 0;
}

int ov_app_gpon_port_is_group_work_pon_port(int slotid, int portid) {
    return is_synced_with_role(slotid, portid, OV_PON_PROTECT_PON_STATUS_WORKING) ? 1 : 0;
}

int ov_app_gpon_port_is_group_active_pon_port(int slotid, int ponid) {
    const auto* port = status_of(slotid, ponid);
    return port != nullptr && port->is_active != 0 && ov_startup_gpon_config_sync_end_check(slotid) == 1 ? 1
                                                                                                         : 0;
}
