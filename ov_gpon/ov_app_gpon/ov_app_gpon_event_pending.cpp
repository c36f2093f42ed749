#include "ov_app_gpon_event_pending.h"

#include "ov_types.h"

int ov_app_gpon_unconfig_onu_add_by_lowlayer(ov_gpon_uncfg_onu_attr_t* /*attr*/) {
    // TODO: the row of the unconfigured ONU; there is no table of them yet.
    return OV_GPON_RET_FAIL;
}

int ov_app_gpon_unconfig_onu_del_by_lowlayer(ov_gpon_uncfg_onu_attr_t* /*attr*/) {
    // TODO: that row deleted; there is no table of them yet.
    return OV_GPON_RET_FAIL;
}

int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* /*attr*/) {
    // TODO: the learnt ONU's row; the ONU module isn't there yet.
    return OV_GPON_RET_FAIL;
}

int ov_app_gpon_wn_trap_set_by_lowlayer(ov_gpon_wanning_trap_t* /*attr*/) {
    // TODO: the alarm's row for the debouncing cache; there is no alarm module yet.
    return OV_GPON_RET_OK;
}

void ov_app_gpon_onu_state_update(ov_gpon_trap_onu_state_attr_t* /*state*/) {
    // TODO: the state in the ONU's row, alarms and the notification; without a row nothing is to be done.
}

void ov_app_gpon_onu_state_historytable_update(ov_gpon_trap_onu_state_attr_t* /*state*/) {
    // TODO: the times in the ONU's history row; without a row nothing is to be done.
}

void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* /*attr*/) {
    // TODO: the group's active port; without a group nothing is to be done.
}
