#include "ov_app_gpon_qos_pair.h"

#include "app_key.h"
#include "ov_app_gpon_pair.h"
#include "ov_product_log.h"
#include "qos_port.h"

namespace {

// What of a port's row is repeated.
int take(const ov_ponPortQosTable_attr_t& row, const MIB_Flags_t& columns, ov_app_port_qos_s* port) {
    namespace column = ponPortQosTable_column;
    int result = OV_QOS_OK;
    if (mib_flag_is_set(columns, column::ponPortQosSchedulerModel))
        result = ov_app_port_qos_edit_sched_mode(port, row.ponPortQosSchedulerModel);
    if (result == OV_QOS_OK && mib_flag_is_set(columns, column::ponPortQosSchedulerProfileId))
        result = ov_app_port_qos_edit_qos_sched_profile(
            port, static_cast<uint32_t>(row.ponPortQosSchedulerProfileId));
    if (result == OV_QOS_OK && mib_flag_is_set(columns, column::ponPortQosTrafficProfileId))
        result = ov_app_port_qos_edit_qos_traffic_profile(
            port, static_cast<uint32_t>(row.ponPortQosTrafficProfileId));
    return result;
}

} // namespace

void ov_app_pon_protect_group_sync_PortQostable(void* row, const MIB_Flags_t& columns, int action,
                                                ov_ifindex_t partner) {
    if (action != OV_HAL_GPON_MSG_ACTION_SET)
        return;
    ov_app_port_qos_s* port = ov_app_find_port_qos_by_ifindex(partner);
    if (port == nullptr ||
        take(*static_cast<const ov_ponPortQosTable_attr_t*>(row), columns, port) != OV_QOS_OK ||
        ov_app_port_qos_set(port, SYNC_EVERY_COPY) != OV_QOS_OK)
        OV_LOG_ERROR("QOS", "%s[%d]", __func__, __LINE__);
}

// A partner's ONU brings its own object along: a create does nothing.
void ov_app_pon_protect_group_sync_onuQostable(void* pending, const MIB_Flags_t& columns, int action,
                                               ov_ifindex_t partner) {
    auto& row = *static_cast<ov_onuQosTable_attr_t*>(pending);
    row.shelfID = GPON_SHELF;
    move_to_port(row, partner);
    const bool gone = find_stored_row(row) == nullptr; // with its ONU
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE || (action == OV_HAL_GPON_MSG_ACTION_DELETE && gone))
        return;
    const int operation = action == OV_HAL_GPON_MSG_ACTION_DELETE ? MIB_DEL_N : MIB_SET_N;
    if (!mib_access(operation, row, columns, ov_gpon_qos_appid))
        OV_LOG_ERROR("QOS", "%s[%d]", __func__, __LINE__);
}

void ov_app_gpon_qos_pair_init() {
    ov_app_gpon_pair_writer_set(SYNC_SPORTQOS, ov_app_pon_protect_group_sync_PortQostable);
    ov_app_gpon_pair_writer_set(SYNC_ONUQOS, ov_app_pon_protect_group_sync_onuQostable);
}
