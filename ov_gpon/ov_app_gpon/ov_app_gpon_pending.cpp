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
