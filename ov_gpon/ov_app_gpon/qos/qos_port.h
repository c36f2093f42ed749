// What the modules of the QoS of ports and ONUs share, and nobody else needs.
#pragma once

#include <span>

#include "onuQosTable.h"
#include "ov_app_gpon_pair.h"
#include "ponPortQosTable.h"
#include "portQosTable.h"
#include "qos_binding.h"

// The values of a row that differ from the object's become the object's, as changes. False when one can't be,
// and then nothing has changed.
bool ov_app_port_qos_mib_to_app(const ov_portQosTable_attr_t& row, ov_app_port_qos_s& port);
bool ov_app_port_qos_mib_to_app(const ov_ponPortQosTable_attr_t& row, ov_app_port_qos_s& port);
// The object's values into a row.
void ov_app_port_qos_app_to_mib(ov_app_port_qos_s& port, ov_portQosTable_attr_t& row);
void ov_app_port_qos_app_to_mib(ov_app_port_qos_s& port, ov_ponPortQosTable_attr_t& row);
void ov_onu_qos_app_to_mib(ov_app_onu_qos_s& onu, ov_onuQosTable_attr_t& row);

// An object with the values of its row, if there is one and no object yet. Cards aren't told.
void qos_port_adopt(ov_ifindex_t ifindex);
void qos_onu_adopt(ov_ifindex_t ifindex);

// Tell the card again what the ONUs of a slot, of a PON port, and the service ports of an ONU have beside the
// defaults, without waiting for it.
void _restore_onu_qos_by_slot(int slot);
void _restore_onu_qos_by_ponif(ov_ifindex_t pon);
void _restore_service_port_qos_by_onuif(ov_ifindex_t onu);

// ---- the partner of a working port -----------------------------------------------------------------------

// A field whose changes it gets, in this column of its row.
template <typename Object>
struct QosRepeated {
    QosField<Object> field;
    unsigned column;
};

// What a manager writes reaches the partner behind the callback of the table; what a command sets, or a
// service profile's copy, has none, and is repeated by this. False if the partner doesn't get it.
template <typename Object, typename Row>
bool qos_repeat_on_pair(ov_pon_protect_sync_table_e table, std::span<const QosRepeated<Object>> repeated,
                        uint32_t changed, Row row) {
    MIB_Flags_t columns = {};
    for (const auto& [field, number] : repeated)
        if (field.is_in(changed))
            mib_flag_set(columns, number);
    return !any_column(columns) ||
           ov_app_gpon_follow_on_pair(table, RowChange<Row>{row, columns, OV_HAL_GPON_MSG_ACTION_SET}) ==
               SET_ACCEPTED;
}
