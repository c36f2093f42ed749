#include "ov_app_gpon_pending.h"

#include <new>

#include "ov_product_log.h"

int ov_app_gpon_port_add(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag) {
    if (!attr || !flag) {
        OV_LOG_ERROR("LIB", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    // TODO: interface index, row status 4, bits 13 and 4, then MIB_SET; there is no port table yet.
    OV_LOG_ERROR("LIB", "mib add error for port table");
    return OV_GPON_RET_BAD_PARAM;
}

int ov_app_gpon_port_edit(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag) {
    if (!attr || !flag) {
        OV_LOG_ERROR("LIB", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    // TODO: MIB_SET with the caller's mask; there is no port table yet.
    OV_LOG_ERROR("LIB", "mib set error for port table");
    return OV_GPON_RET_BAD_PARAM;
}

void ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_t /*ifIndex*/) {
    // TODO: state 1 for each ONU row of the port, and the port's unconfigured ONUs deleted; there are no
    // ONU tables yet, so there is no ONU to take down.
}

int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    // TODO: row status 4, bits 1 and 2, then MIB_SET_S; there is no uplink performance table yet.
    return OV_GPON_RET_BAD_PARAM;
}

int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* /*attr*/) {
    // TODO: MIB_DEL; there is no uplink performance table yet.
    return OV_GPON_RET_BAD_PARAM;
}

ov_app_port_qos_s* ov_app_port_qos_new() {
    // TODO: model, profile ids and their former values.
    return new (std::nothrow) ov_app_port_qos_s{};
}

void ov_app_port_qos_destroy(ov_app_port_qos_s* qos) {
    delete qos;
}

int ov_app_port_qos_edit_ifindex(ov_app_port_qos_s* qos, ov_ifindex_t ifindex) {
    if (!qos)
        return OV_GPON_RET_BAD_PARAM;
    qos->ifindex = ifindex;
    return OV_GPON_RET_OK;
}

int ov_app_port_qos_add(ov_app_port_qos_s* /*qos*/, uint32_t /*flag*/) {
    // TODO: the row, the card and the list; there are no port QoS tables yet.
    return OV_GPON_RET_FAIL;
}

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
