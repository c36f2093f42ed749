// PON ports in protection groups (ITU-T G.984.1 type B): which role a port has, and what a write to a working
// port means for its partner.
//
// The role store is memory only. A port counts as being in a group once its card's configuration sync has
// ended. Slots and ports outside the chassis have no role. Main loop only.
#pragma once

#include <cstdint>

#include "app_set_callback.h"
#include "ov_types.h"

enum ov_pon_protect_pon_status_e : int32_t {
    OV_PON_PROTECT_PON_STATUS_NONE = 0,
    OV_PON_PROTECT_PON_STATUS_WORKING = 1,
    OV_PON_PROTECT_PON_STATUS_PROTECTING = 2,
    OV_PON_PROTECT_PON_STATUS_ERR = 3,
};

struct ov_pon_protect_pon_status_t {
    ov_pon_protect_pon_status_e ponstatus;
    ov_ifindex_t pairIndex; // the partner port
    int32_t is_active;      // 1: this port is in service
};

// The tables whose writes are repeated on the partner.
enum ov_pon_protect_sync_table_e : int32_t {
    SYNC_SPON = 1,
    SYNC_SPORTQOS = 2,
    SYNC_SONU = 3,
    SYNC_SGEM = 4,
    SYNC_STCONT = 5,
    SYNC_SSERVICEPORT = 6,
    SYNC_ONUQOS = 7,
    SYNC_RMONU_UNISTATUS = 8,
    SYNC_RMONU_IPHOST = 9,
    SYNC_RMONU_TR069MGMT = 10,
    SYNC_RMONU_SERVICE = 11,
    SYNC_RMONU_UNIVLAN = 12,
    SYNC_RMONU_ONUMCAST = 13,
    SYNC_RMONU_MACFILTER_MODE = 14,
    SYNC_RMONU_MACFILTER_STATIC = 15,
    SYNC_RMONU_VOIP_CONF_DATA = 16,
    SYNC_RMONU_SIP_CONF_DATA = 17,
    SYNC_RMONU_SIP_USER_DATA = 18,
    SYNC_RMONU_WAN = 19,
    SYNC_RMONU_WIFI = 20,
    SYNC_RMONU_UNIPOE = 21,
    SYNC_RMONU_ONUPOE = 22,
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

// Repeats a write of a working port's row (of `len` bytes, copied) on the partner port `protect`. 1 when that
// is on its way, 0 behind a log line when it can't be.
int ov_app_pon_protect_group_config_table_sync(int syncTable, const void* row, int len,
                                               const MIB_Flags_t& column_flag, int action,
                                               ov_ifindex_t protect);

// Last step of a set callback: on the working port of a group the answer is whether the partner gets the
// change; on any other the change is accepted.
template <typename Row>
int ov_app_gpon_follow_on_pair(ov_pon_protect_sync_table_e table, const RowChange<Row>& change) {
    const Row& row = change.row;
    if (ov_app_gpon_port_is_group_work_pon_port(row.slotID, row.portID) == 0)
        return SET_ACCEPTED;
    return ov_app_pon_protect_group_config_table_sync(
        table, &row, sizeof row, change.columns, change.action,
        ov_pon_protect_group_get_pair_port_index(row.slotID, row.portID));
}
