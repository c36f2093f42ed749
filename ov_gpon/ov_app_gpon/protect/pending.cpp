// Protection groups, which aren't there yet: no port has a role, and no group is to be switched.
#include "app_restore_line.h"
#include "ov_app_gpon_pon_protect.h"
#include "ov_app_gpon_port_config.h"
#include "ov_gpon_config_error.h"

void ov_app_gpon_pon_protect_init() {
    // TODO: the role store (ov_app_gpon_pon_role.h), callbacks of portProtectTable
}

void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* /*attr*/) {
    // TODO: the group's active port; without a group nothing is to be done.
}

int ov_app_gpon_port_config_clear(ov_ifindex_t /*Ifindex*/) {
    return OV_GPON_RET_FAIL; // TODO: the port's rows back to their defaults, its ONUs removed
}

// A replay to a card brings nothing of it.
RESTORE_LATER(pon_protect, SPORTPROTECT, OV_HAL_MSG_GPON_PON_PROTECT) // TODO: map of record 952
