// The QoS of a protection group's working port and of its ONUs, repeated on the partner port.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "ov_app_gpon_pair.h"
#include "ov_types.h"
#include "table_record.h"

// Enters the writers of ponPortQosTable and onuQosTable. Start-up.
void ov_app_gpon_qos_pair_init();

// The writers (ov_app_gpon_pair.h). Of a port only a change is repeated, and of that the model, the scheduler
// profile and the traffic profile.
void ov_app_pon_protect_group_sync_PortQostable(void* row, const MIB_Flags_t& columns, int action,
                                                ov_ifindex_t partner);
void ov_app_pon_protect_group_sync_onuQostable(void* row, const MIB_Flags_t& columns, int action,
                                               ov_ifindex_t partner);

// Has the partner follow a row that a command has written, when it is one of a working port; after a
// manager's change the table's set callback does so. False when there is no memory for it.
template <typename Row>
bool qos_follow_on_pair(ov_pon_protect_sync_table_e table, Row row) {
    MIB_Flags_t columns = mibDefFlags;
    mib_flag_clear(columns, table_of<Row>::module().desc().row_status->number);
    const RowChange<Row> change{row, columns, OV_HAL_GPON_MSG_ACTION_SET};
    return ov_app_gpon_follow_on_pair(table, change) == SET_ACCEPTED;
}
