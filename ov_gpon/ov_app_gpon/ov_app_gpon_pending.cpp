#include "ov_app_gpon_pending.h"

#include <new>

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
