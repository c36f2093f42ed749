// The QoS of a protection group's working port and of its ONUs, repeated on the partner port.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "ov_types.h"

// Enters the writers of ponPortQosTable and onuQosTable. Start-up.
void ov_app_gpon_qos_pair_init();

// The writers (ov_app_gpon_pair.h). Of a port only a change is repeated, and of that the model, the scheduler
// profile and the traffic profile.
void ov_app_pon_protect_group_sync_PortQostable(void* row, const MIB_Flags_t& columns, int action,
                                                ov_ifindex_t partner);
void ov_app_pon_protect_group_sync_onuQostable(void* row, const MIB_Flags_t& columns, int action,
                                               ov_ifindex_t partner);
