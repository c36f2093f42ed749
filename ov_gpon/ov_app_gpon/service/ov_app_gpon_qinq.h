// QinQ rules (smartQinqTable): a service VLAN for matching upstream traffic, by PON port or by ONU.
#pragma once

#include "ov_types.h"

// Start-up, in its place of the list.
void ov_app_gpon_qinq_init();

// Replays the rules of a slot to its card. 0 or OV_GPON_RET_*.
int ov_app_gpon_qinq_config_restore(int slot_id);
// Removes all rules of a PON port. 0 or OV_GPON_RET_*.
int ov_app_gpon_port_qinq_del(ov_ifindex_t ifindex);
