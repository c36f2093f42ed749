// Protection groups, which aren't there yet: no port has a role, and no group is to be switched.
#include "ov_app_gpon_pon_protect.h"

void ov_app_gpon_pon_protect_init() {
    // TODO: the role store (ov_app_gpon_pon_role.h), callbacks of portProtectTable
}

void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* /*attr*/) {
    // TODO: the group's active port; without a group nothing is to be done.
}
