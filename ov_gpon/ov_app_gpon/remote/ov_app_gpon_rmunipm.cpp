#include "ov_app_gpon_rmunipm.h"

#include "app_set_callback.h"
#include "ov_app_gpon_rm_uni.h"
#include "sRmUniStatusTable.h"

int gpon_unipm_appid = 0;

namespace {

using Row = ov_sRmUniPmTable_attr_t;
using Record = ov_gpon_rmuni_stats_attr_t;
using Status = ov_sRmUniStatusTable_attr_t;
namespace column = sRmUniPmTable_column;

constexpr MapLine UNIPM_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_INTO(uniPos, (fill_uni_place<Row, Record>)),
    READ_ONLY(sRmUniPmTableFcsErr, fcsErr),
    READ_ONLY(sRmUniPmTableTxCollision, txCollision),
    READ_ONLY(sRmUniPmTableFrmTooLong, frmTooLong),
    READ_ONLY(sRmUniPmTableRxBufOverflow, rxBufOverflow),
    READ_ONLY(sRmUniPmTableTxBufOverflow, txBufOverflow),
    READ_ONLY(sRmUniPmTableAlignmentErr, alignmentErr),
    READ_ONLY(sRmUniPmTablePppoeDrop, pppoeDrop),
    READ_ONLY(sRmUniPmTableRxByte, rxByte),
    READ_ONLY(sRmUniPmTableRxPkt, rxPkt),
    READ_ONLY(sRmUniPmTableBcPkt, bcPkt),
    READ_ONLY(sRmUniPmTableMcPkt, mcPkt),
    READ_ONLY(sRmUniPmTablePktLessThan64, pktLessThan64),
    READ_ONLY(sRmUniPmTablePkt64, pkt64),
    READ_ONLY(sRmUniPmTablePkt65To127, pkt65To127),
    READ_ONLY(sRmUniPmTablePkt128To255, pkt128To255),
    READ_ONLY(sRmUniPmTablePkt256To511, pkt256To511),
    READ_ONLY(sRmUniPmTablePkt512To1023, pkt512To1023),
    READ_ONLY(sRmUniPmTablePkt1024To1518, pkt1024To1518),
    READ_ONLY(sRmUniPmTablePktLargerThan1518, pktLargerThan1518),
    READ_ONLY(sRmUniPmTableCrcErr, crcErr),
    READ_ONLY(sRmUniPmTableUndersizePkts, undersizePkts),
    READ_ONLY(sRmUniPmTableOversizePkts, oversizePkts),
    READ_ONLY(sRmUniPmTableDropEvents, dropEvents),
};

// Those of one direction.
constexpr MIB_Flags_t LIVE_COUNTERS = columns_of(
    column::sRmUniPmTableRxByte, column::sRmUniPmTableRxPkt, column::sRmUniPmTableBcPkt,
    column::sRmUniPmTableMcPkt, column::sRmUniPmTablePkt64, column::sRmUniPmTablePkt65To127,
    column::sRmUniPmTablePkt128To255, column::sRmUniPmTablePkt256To511, column::sRmUniPmTablePkt512To1023,
    column::sRmUniPmTablePkt1024To1518, column::sRmUniPmTableCrcErr, column::sRmUniPmTableUndersizePkts,
    column::sRmUniPmTableOversizePkts, column::sRmUniPmTableDropEvents);

int read_live(int message, Row* row, ov_hal_gpon_msg_action_t action) {
    if (row == nullptr) {
        OV_LOG_ERROR("MMG", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    Record record = {};
    unipm_map.encode_address(row, &record);
    const int result = ov_hal_gpon_msg_send(message, action, &record, 0, 1);
    if (result == OV_GPON_RET_OK)
        unipm_map.decode(&record, row, LIVE_COUNTERS);
    return result;
}

constexpr FollowSwitch<Status> PM_ENABLE = {
    .column = sRmUniStatusTable_column::sRmUniStatusTablePmEnable,
    .value = &Status::sRmUniStatusTablePmEnable,
    .before = &Status::old_sRmUniStatusTablePmEnable,
};

constexpr FollowRows<Status, Row> FOLLOWS_PM_ENABLE = {
    .key = uni_key<Row, Status>,
    .by_switch = &PM_ENABLE,
    .looks_first = false,
    .appid = &gpon_unipm_appid,
    .add_failed = "can't create pmtable data",
    .remove_failed = "can't delete pmtable data",
};

} // namespace

constinit const MessageMap<ov_sRmUniPmTable_attr_t, ov_gpon_rmuni_stats_attr_t> unipm_map(UNIPM_LINES);

int ov_get_uni_pm_us_data_from_hal(ov_sRmUniPmTable_attr_t* row, ov_hal_gpon_msg_action_t action) {
    return read_live(OV_HAL_MSG_GPON_RM_UNI_STATS_US, row, action);
}

int ov_get_uni_pm_ds_data_from_hal(ov_sRmUniPmTable_attr_t* row, ov_hal_gpon_msg_action_t action) {
    return read_live(OV_HAL_MSG_GPON_RM_UNI_STATS_DS, row, action);
}

int ov_unipm_unistatustable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    const int answer = follow_rows(FOLLOWS_PM_ENABLE, did, row, column_flag);
    if (answer != SET_ACCEPTED) {
        auto pm = uni_key<Row>(*static_cast<const Status*>(row));
        sRmUniPmTable_Dump(&pm);
    }
    return answer;
}

void ov_app_gpon_rmunipm_init() {
    gpon_unipm_appid = AssignAppId();
    const CallbackRegistration app = {"app_unipm", gpon_unipm_appid,
                                      "app_unipm register set call back error"};
    app.add(SRMUNISTATUS, CALLBACK_SET, ov_unipm_unistatustable_set_callback,
            columns_of(sRmUniStatusTable_column::sRmUniStatusTablePmEnable,
                       sRmUniStatusTable_column::sRmUniStatusTableRowStatus));
}
