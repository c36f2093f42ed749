// QoS of ports and of ONUs, and its profiles, which aren't there yet: what is looked for isn't there.
#include "app_restore_line.h"
#include "onuQosTable.h"
#include "ov_app_gpon_qos.h"

#include <new>

int g_gpon_qos_debug_flag = 0; // TODO: the debug lines

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

// A replay to a card brings nothing of them.
RESTORE_LATER(onuqos, SONUQOS, OV_HAL_MSG_GPON_ONU_QOS) // TODO: map of record 921
RESTORE_TEMPLATES_LATER(onuqos, SONUQOS, OV_HAL_MSG_GPON_ONU_QOS)

namespace {

namespace onu_qos {
namespace column = onuQosTable_column;
constexpr MapLine LINES[] = {
    MASK_ONLY(onuQosMaxBw, OV_GPON_ONU_QOS_ATTR_INDEX_maxBw),
    MASK_ONLY(onuQosMinBw, OV_GPON_ONU_QOS_ATTR_INDEX_minBw),
};
constexpr MessageMap<ov_onuQosTable_attr_t, ov_gpon_onu_qos_attr_t> COLUMNS(LINES);
} // namespace onu_qos

} // namespace

ov_bmp_t ov_onu_qos_table_attr_mask_get(const void* row) {
    return onu_qos::COLUMNS.replay_mask(row);
}
