// The tables of the QoS of ports: what a manager's row must meet, and how it reaches the object.
#include "app_index.h"
#include "app_set_callback.h"
#include "kavo_if.h"
#include "ov_app_gpon_pair.h"
#include "ov_product_log.h"
#include "qos_port.h"
#include "qos_profile.h"

namespace {

using Uplink = ov_portQosTable_attr_t;
using Pon = ov_ponPortQosTable_attr_t;

// The values of a row of either table.
struct PortValues {
    mib_long shelf, slot, port;
    mib_long model, sched, traffic, cosq_map;
};
PortValues values_of(const Uplink& row) {
    return {row.shelfID,
            row.slotID,
            row.portID,
            row.portQosSchedulerModel,
            row.portQosSchedulerProfileId,
            row.portQosTrafficProfileId,
            row.portQosCosQueueMappingProfileId};
}
PortValues values_of(const Pon& row) {
    return {row.shelfID,
            row.slotID,
            row.portID,
            row.ponPortQosSchedulerModel,
            row.ponPortQosSchedulerProfileId,
            row.ponPortQosTrafficProfileId,
            row.ponPortQosCosQueueMappingProfileId};
}

bool check(const PortValues& values, int mode) {
    if (values.shelf != GPON_SHELF || values.slot == 0 || values.port == 0)
        return ov_refusal_because("no port %d/%d of shelf %d", static_cast<int>(values.slot),
                                  static_cast<int>(values.port), static_cast<int>(values.shelf));
    if (!qos_gives_values(mode))
        return true;
    if (values.model != OV_QOS_SCHED_SIMPLE && values.model != OV_QOS_SCHED_HIERARCHY)
        return ov_refusal_because("a scheduler model is simple (1) or hierarchy (2)");
    return qos_row_may_name(QOS_PROFILE_SCHED, values.sched) &&
           qos_row_may_name(QOS_PROFILE_TRAFFIC, values.traffic) &&
           qos_row_may_name(QOS_PROFILE_COSQ_MAP, values.cosq_map);
}

template <typename Row>
int check_row(MIBDID did, void* pending) {
    return check(values_of(*static_cast<const Row*>(pending)), MibRowStatusGet(did, pending)) ? SET_ACCEPTED
                                                                                              : SET_REFUSED;
}

// ---- the port of a row ------------------------------------------------------------------------------------

ov_ifindex_t port_of(const Uplink& row) {
    const uif_t* uif =
        uif_get_uplink_port_by_phy_info(static_cast<uint8_t>(row.shelfID), static_cast<uint8_t>(row.slotID),
                                        static_cast<uint16_t>(row.portID));
    return uif != nullptr ? uif->ifindex : OV_IFINDEX_INVALID;
}
ov_ifindex_t port_of(const Pon& row) {
    return has_port_index(row) ? port_ifindex_of(row) : OV_IFINDEX_INVALID;
}

// ---- a change ---------------------------------------------------------------------------------------------

template <typename Row>
bool apply(Row& row, int mode) {
    const ov_ifindex_t ifindex = port_of(row);
    ov_app_port_qos_s* port = ov_app_find_port_qos_by_ifindex(ifindex);
    if (port == nullptr) {
        ov_refusal_because("port %d/%d hasn't appeared yet", static_cast<int>(row.slotID),
                           static_cast<int>(row.portID));
        OV_LOG_ERROR("QOS", "port qos %s:%#x not found", uif_ifindex_to_name(ifindex), ifindex);
        return false;
    }
    if (mode == MODE_DEL) // the port keeps what it has
        return true;
    if (!ov_app_port_qos_mib_to_app(row, *port)) {
        OV_LOG_ERROR("QOS", "port qos %s:%#x mib to app failed", uif_ifindex_to_name(ifindex), ifindex);
        return false;
    }
    if (ov_app_port_qos_set(port, SYNC_HAL | SYNC_APP) != OV_QOS_OK)
        return false;
    ov_app_port_qos_app_to_mib(*port, row); // a change of the model has taken the profiles off
    return true;
}

// A refused row leaves as it came.
template <typename Row>
int set_callback(MIBDID did, void* pending, int (*check)(MIBDID, void*, MIB_Flags_t),
                 const MIB_Flags_t& columns) {
    if (check(did, pending, columns) != SET_ACCEPTED)
        return SET_REFUSED;
    Row& row = *static_cast<Row*>(pending);
    const int mode = MibRowStatusGet(did, pending);
    if (mode == MODE_IDLE)
        return SET_ACCEPTED;
    const Row before = row;
    if (apply(row, mode))
        return SET_ACCEPTED;
    row = before;
    return SET_REFUSED;
}

} // namespace

int ov_port_qos_mib_data_check(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return check_row<Uplink>(did, row);
}

int ov_pon_port_qos_mib_data_check(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return check_row<Pon>(did, row);
}

int ov_port_qos_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return set_callback<Uplink>(did, row, ov_port_qos_mib_data_check, column_flag);
}

int ov_pon_port_qos_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    if (set_callback<Pon>(did, row, ov_pon_port_qos_mib_data_check, column_flag) != SET_ACCEPTED)
        return SET_REFUSED;
    const auto action = hal_action_of(MibRowStatusGet(did, row));
    return action ? ov_app_gpon_follow_on_pair(SYNC_SPORTQOS,
                                               RowChange<Pon>{*static_cast<Pon*>(row), column_flag, *action})
                  : SET_ACCEPTED;
}
