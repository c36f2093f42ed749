#include "ov_app_gpon_pending.h"

#include <new>

int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    // TODO: row status 4, bits 1 and 2, then MIB_SET_S; there are no uplink performance records yet.
    return OV_GPON_RET_OK;
}

int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* /*attr*/) {
    // TODO: MIB_DEL; there are no uplink performance records yet, and so nothing to take out.
    return OV_GPON_RET_OK;
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

int ov_app_port_qos_add(ov_app_port_qos_s* qos, uint32_t /*flag*/) {
    // TODO: the row, the card and the list; there is no port QoS yet, and the object ends here.
    ov_app_port_qos_destroy(qos);
    return OV_QOS_OK;
}
