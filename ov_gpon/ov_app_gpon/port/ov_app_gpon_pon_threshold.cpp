#include "ov_app_gpon_pon_threshold.h"

#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "ov_app_gpon_pon_optic.h"

int gpon_threshold_appid = 0;

namespace {

using Port = ov_sPonTable_attr_t;
using Row = ov_sPonThresholdTable_attr_t;
using Record = ov_gpon_pon_optic_threshold_attr_t;
namespace column = sPonThresholdTable_column;

constexpr mib_long as_set(mib_long action) {
    return action;
}

// The switch is never read back: the row has what was set.
constexpr MapLine THRESHOLD_LINES[] = {
    WIRE_ONLY(ifindex, port_ifindex_of<Row>),
    MAP_AS(sPonThresholdTableAction, action, OV_GPON_OPTIC_THRESHOLD_ATTR_action, as_set),
    READ_ONLY(sPonThresholdTxpwrLow, txPwr_low),
    READ_ONLY(sPonThresholdTxpwrHigh, txPwr_high),
    READ_ONLY(sPonThresholdRxpwrLow, rxPwr_low),
    READ_ONLY(sPonThresholdRxpwrHigh, rxPwr_high),
    READ_ONLY(sPonThresholdVccLow, vcc_low),
    READ_ONLY(sPonThresholdVccHigh, vcc_high),
    READ_ONLY(sPonThresholdBiasCurLow, bias_curr_low),
    READ_ONLY(sPonThresholdBiasCurHigh, bias_curr_high),
    READ_ONLY(sPonThresholdTempLow, temp_low),
    READ_ONLY(sPonThresholdTempHigh, temp_high),
};

// The whole row, as a replay would bring it.
constexpr MapLine REPLAY_LINES[] = {
    WIRE_ONLY(ifindex, port_ifindex_of<Row>),
    MAP(sPonThresholdTableAction, action, OV_GPON_OPTIC_THRESHOLD_ATTR_action),
    MAP(sPonThresholdTxpwrLow, txPwr_low, OV_GPON_OPTIC_THRESHOLD_ATTR_txPwr_low),
    MAP(sPonThresholdTxpwrHigh, txPwr_high, OV_GPON_OPTIC_THRESHOLD_ATTR_txPwr_high),
    MAP(sPonThresholdRxpwrLow, rxPwr_low, OV_GPON_OPTIC_THRESHOLD_ATTR_rxPwr_low),
    MAP(sPonThresholdRxpwrHigh, rxPwr_high, OV_GPON_OPTIC_THRESHOLD_ATTR_rxPwr_high),
    MAP(sPonThresholdVccLow, vcc_low, OV_GPON_OPTIC_THRESHOLD_ATTR_vcc_low),
    MAP(sPonThresholdVccHigh, vcc_high, OV_GPON_OPTIC_THRESHOLD_ATTR_vcc_high),
    MAP(sPonThresholdBiasCurLow, bias_curr_low, OV_GPON_OPTIC_THRESHOLD_ATTR_bias_curr_low),
    MAP(sPonThresholdBiasCurHigh, bias_curr_high, OV_GPON_OPTIC_THRESHOLD_ATTR_bias_curr_high),
    MAP(sPonThresholdTempLow, temp_low, OV_GPON_OPTIC_THRESHOLD_ATTR_temp_low),
    MAP(sPonThresholdTempHigh, temp_high, OV_GPON_OPTIC_THRESHOLD_ATTR_temp_high),
};
constinit const MessageMap<Row, Record> replay_map(REPLAY_LINES);

constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_PON_MODULE_THRESHOLD,
    .map = &pon_threshold_map,
    .columns = columns_of(column::sPonThresholdTxpwrLow),
    .masked_by_columns = false,
    .taken = Taken::WHOLE,
    .not_supported = NotSupported::REFUSE,
    .failure = "get pon threshold from hal error",
};

constexpr FollowRows<Port, Row> FOLLOWS_PORT = {
    .key = port_key<Row, Port>,
    .appid = &gpon_threshold_appid,
    .add_error = "add pon threshold table error",
    .remove_error = "del pon threshold table error",
};

} // namespace

constinit const MessageMap<ov_sPonThresholdTable_attr_t, ov_gpon_pon_optic_threshold_attr_t>
    pon_threshold_map(THRESHOLD_LINES);
RESTORE(pon_threshold, SPONTHRESHOLD, OV_HAL_MSG_GPON_PON_MODULE_THRESHOLD, replay_map, CREATED_AND_SET)

int ov_app_gpon_pon_threshold_edit(ov_sPonThresholdTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET, attr, flag, gpon_threshold_appid, "mib set error for port table");
}

ov_bmp_t ov_pon_ponthreshold_table_attr_mask_get(const void* row) {
    return replay_map.replay_mask(row);
}

// Cards know the switch by the action word 2, which deletes in all other messages.
int ov_pon_threshold_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_PON_MODULE_THRESHOLD,
        .map = &pon_threshold_map,
        .words = {.set = OV_HAL_GPON_MSG_ACTION_DELETE},
        .sent = SentChanges::EDITS,
        .failure = "set threshold action to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_pon_threshold_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    if (!mib_flag_is_set(column_flag, column::sPonThresholdTxpwrLow))
        return SET_ACCEPTED;
    const Port* port = find_row(port_key<Port>(*static_cast<const Row*>(row)));
    if (port == nullptr)
        return SET_REFUSED;
    if (port->sPonTableAdminState != SPONTABLEADMINSTATE_ENABLED)
        return SET_ACCEPTED;
    if (ov_app_gpon_port_is_out_of_operation(*port))
        return SET_REFUSED;
    return run_get_callback(READS, row, column_flag);
}

int ov_pon_threshold_table_pontable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_PORT, did, row, column_flag);
}

void ov_app_gpon_pon_threshold_init() {
    gpon_threshold_appid = AssignAppId();
    const CallbackRegistration app = {"app_pon_threshold", gpon_threshold_appid,
                                      "app_pon_threshold register call back error"};
    app.add(SPONTHRESHOLD, CALLBACK_GET, ov_pon_threshold_table_get_callback,
            columns_but(column::sPonThresholdTableAction));
    app.add(SPONTHRESHOLD, CALLBACK_SET, ov_pon_threshold_table_set_callback,
            columns_of(column::sPonThresholdTableAction));
    app.add(SPON, CALLBACK_SET, ov_pon_threshold_table_pontable_set_callback,
            columns_of(sPonTable_column::sPonTableRowStatus));
}
