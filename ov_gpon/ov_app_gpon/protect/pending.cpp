// Edits of a port's QoS, which aren't there yet: the port has none.
#include "ov_app_gpon_port_qos.h"

// TODO: those of the room of QoS take their place when they are there.
[[gnu::weak]] int ov_app_port_qos_edit_sched_mode(ov_app_port_qos_s* /*qos*/, int32_t /*model*/) {
    return OV_QOS_ERR;
}
[[gnu::weak]] int ov_app_port_qos_edit_qos_sched_profile(ov_app_port_qos_s* /*qos*/, uint32_t /*id*/) {
    return OV_QOS_ERR;
}
[[gnu::weak]] int ov_app_port_qos_edit_qos_traffic_profile(ov_app_port_qos_s* /*qos*/, uint32_t /*id*/) {
    return OV_QOS_ERR;
}
[[gnu::weak]] int ov_app_port_qos_set(ov_app_port_qos_s* /*qos*/, uint32_t /*flag*/) {
    return OV_QOS_ERR;
}
