// What a write to a working port of a protection group means for its partner: it is repeated there, behind
// the access that it came from. Main loop only.
#pragma once

#include <cstdint>

#include "app_set_callback.h"
#include "ov_app_gpon_pon_role.h"
#include "ov_types.h"

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
inline constexpr int SYNC_TABLES = 22;

// Writes a row of one table on the partner port: the copy of a working port's row, which is the function's to
// change, with the columns and the action (OV_HAL_GPON_MSG_ACTION_*) of the write that is repeated.
typedef void (*ov_app_gpon_pair_writer_t)(void* row, const MIB_Flags_t& columns, int action,
                                          ov_ifindex_t partner);

// The writer of a table enters itself, at start; null takes it out.
void ov_app_gpon_pair_writer_set(ov_pon_protect_sync_table_e table, ov_app_gpon_pair_writer_t writer);

// Repeats a write of a working port's row (of `len` bytes, copied) on the partner port `protect`, when the
// loop comes round: the table is locked as long as the access lasts. Repeated writes keep their order. 1 when
// that is on its way, or nobody writes that table; 0 behind a log line without memory.
int ov_app_pon_protect_group_config_table_sync(int syncTable, const void* row, int len,
                                               const MIB_Flags_t& column_flag, int action,
                                               ov_ifindex_t protect);

// The check callback of every table whose rows are mirrored: the rows of a protecting port follow those of
// its working port, and nobody else writes them. `log` is the refusal's log line; null: none.
template <typename Row>
int ov_app_gpon_refuse_on_protecting_port(const Row& row, const char* log) {
    if (ov_app_gpon_port_is_protect_pon_port(row.slotID, row.portID) == 0)
        return SET_ACCEPTED;
    ov_refusal_because("the port protects another one and follows it");
    if (log != nullptr)
        OV_LOG_ERROR("MMG", "%s", log);
    return SET_REFUSED;
}

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
