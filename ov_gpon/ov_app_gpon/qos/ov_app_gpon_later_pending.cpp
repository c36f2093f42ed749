// Calls into application modules that aren't there yet and that the modules of ONUs and ports make.
#include "ov_app_gpon_pending.h"

int ov_app_gpon_pm_gem_edit(ov_sGemTable_attr_t* /*attr*/, MIB_Flags_t /*column_flag*/, char /*isAdd*/) {
    // TODO: the GEM port's row of the performance table; there is no performance collection yet.
    return OV_GPON_RET_OK;
}

int ov_app_qos_port_model_get_by_ifindex(ov_ifindex_t /*ifindex*/, int* /*model*/) {
    // TODO: the model of the port's object; ports have none yet.
    return OV_QOS_ERR;
}

ov_app_port_qos_s* ov_app_find_port_qos_by_ifindex(ov_ifindex_t /*ifindex*/) {
    // TODO: the port's object; ports have none yet.
    return nullptr;
}

int ov_app_port_qos_del(ov_app_port_qos_s* /*qos*/, uint32_t /*flag*/) {
    // TODO: the object taken out of row, card and list; there is none yet, and so nothing to take out.
    return OV_QOS_OK;
}

// TODO: the replay of the QoS profiles and objects; there are none yet.
int ov_app_qos_sched_profile_restore_config(int /*slot*/) {
    return OV_QOS_OK;
}
int ov_app_qos_traffic_profile_restore_config(int /*slot*/) {
    return OV_QOS_OK;
}
int ov_app_cos_to_cos_profile_restore_config(int /*slot*/) {
    return OV_QOS_OK;
}
int ov_app_cosq_mapping_profile_restore_config(int /*slot*/) {
    return OV_QOS_OK;
}
int ov_app_port_qos_config_restore(int /*slot*/) {
    return OV_QOS_OK;
}
int ov_app_onu_qos_config_restore(int /*slot*/) {
    return OV_QOS_OK;
}

// TODO: the replay and the removal of QinQ rules; there are none yet.
int ov_app_gpon_qinq_config_restore(int /*slot_id*/) {
    return OV_GPON_RET_OK;
}
int ov_app_gpon_port_qinq_del(ov_ifindex_t /*ifindex*/) {
    return OV_GPON_RET_OK;
}
