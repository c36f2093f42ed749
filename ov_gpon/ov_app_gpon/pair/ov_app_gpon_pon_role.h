// PON ports in protection groups (ITU-T G.984.1 type B): which role a port has.
//
// The store is memory only. A port counts as being in a group once its card's configuration sync has
// ended. Slots and ports outside the chassis have no role. Main loop only.
#pragma once

#include <cstdint>

#include "app_key.h"
#include "ov_types.h"

enum ov_pon_protect_pon_status_e : int32_t {
    OV_PON_PROTECT_PON_STATUS_NONE = 0,
    OV_PON_PROTECT_PON_STATUS_WORKING = 1,
    OV_PON_PROTECT_PON_STATUS_PROTECTING = 2,
    OV_PON_PROTECT_PON_STATUS_ERR = 3, // the configuration of its partner is being copied to it
};

struct ov_pon_protect_pon_status_t {
    ov_pon_protect_pon_status_e ponstatus;
    ov_ifindex_t pairIndex; // the partner port
    int32_t is_active;      // 1: this port is in service
};

// Makes the store, all ports without a role. 0, or KAVO_ERR without memory. A second call clears it.
uint32_t ov_pon_protect_group_pon_status_init();

ov_pon_protect_pon_status_e ov_pon_protect_group_pon_status_get(int slotid, int ponid);
void ov_pon_protect_group_pon_status_set(int slotid, int ponid, ov_pon_protect_pon_status_e status);
// The partner's interface index; 0 for none.
ov_ifindex_t ov_pon_protect_group_get_pair_port_index(int slotid, int ponid);
void ov_pon_protect_group_pair_port_index_set(int slotid, int ponid, ov_ifindex_t index);
void ov_pon_protect_group_pon_active_status_set(int slotid, int ponid, int act);

// 1 or 0; 0 until the card's configuration sync has ended.
int ov_app_gpon_port_is_protect_pon_port(int slotid, int portid);
int ov_app_gpon_port_is_group_work_pon_port(int slotid, int portid);
int ov_app_gpon_port_is_group_active_pon_port(int slotid, int ponid);

// The row on the port that serves now: of a protection group the one in service, else its own.
template <typename Row>
Row ov_app_gpon_on_port_in_service(Row row) {
    const bool in_group = ov_app_gpon_port_is_protect_pon_port(row.slotID, row.portID) == 1 ||
                          ov_app_gpon_port_is_group_work_pon_port(row.slotID, row.portID) == 1;
    if (in_group && ov_app_gpon_port_is_group_active_pon_port(row.slotID, row.portID) == 0)
        move_to_port(row, ov_pon_protect_group_get_pair_port_index(row.slotID, row.portID));
    return row;
}
