#include "ov_app_gpon_rmonu_opt_threshold.h"

#include "app_get_callback.h"
#include "ov_app_gpon_rm_owner.h"

int gpon_rm_opt_threshold_appid = 0;

namespace {

using Row = ov_sRmOnuOptThresholdTable_attr_t;
using Record = ov_gpon_rmonu_opt_threshold_attr_t;
namespace column = sRmOnuOptThresholdTable_column;

constexpr MapLine THRESHOLD_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    MAP(sRmOnuOptThresholdLowRxpwr, lowrxPwrthreshod, OV_GPON_RMONU_OPT_THD_ATTR_INDEX_lowrxpwr),
    MAP(sRmOnuOptThresholdUpperRxpwr, upperrxPwrthreshod, OV_GPON_RMONU_OPT_THD_ATTR_INDEX_upperrxPwr),
    MAP(sRmOnuOptThresholdLowTxpwr, lowtxPwrthreshod, OV_GPON_RMONU_OPT_THD_ATTR_INDEX_lowtxpwr),
    MAP(sRmOnuOptThresholdUpperTxpwr, uppertxPwrthreshod, OV_GPON_RMONU_OPT_THD_ATTR_INDEX_uppertxPwr),
    READ_ONLY(sRmOnuOptThresholdLowVolt, lowvoltthreshod),
    READ_ONLY(sRmOnuOptThresholdUpperVolt, uppervoltthreshod),
    READ_ONLY(sRmOnuOptThresholdLowBias, lowbiasthreshod),
    READ_ONLY(sRmOnuOptThresholdUpperBias, upperbiasthreshod),
    READ_ONLY(sRmOnuOptThresholdLowTemp, lowtempthreshod),
    READ_ONLY(sRmOnuOptThresholdUpperTemp, uppertempthreshod),
};
constexpr MIB_Flags_t SET_COLUMNS =
    columns_of(column::sRmOnuOptThresholdLowRxpwr, column::sRmOnuOptThresholdUpperRxpwr,
               column::sRmOnuOptThresholdLowTxpwr, column::sRmOnuOptThresholdUpperTxpwr);

constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD,
    .map = &rmonu_opt_threshold_map,
    .columns = columns_of(column::sRmOnuOptThresholdLowVolt, column::sRmOnuOptThresholdUpperVolt,
                          column::sRmOnuOptThresholdLowBias, column::sRmOnuOptThresholdUpperBias,
                          column::sRmOnuOptThresholdLowTemp, column::sRmOnuOptThresholdUpperTemp),
    .asked = ov_app_gpon_asked_of_onu,
    .masked_by_columns = false,
    .failure = "get rminfo from low level error",
};

constexpr RmDoors<Row> DOORS = {.table = "rmonu_opt_threshold", .appid = &gpon_rm_opt_threshold_appid};
constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_ONU = {
    .key = onu_key<Row, ov_sOnuTable_attr_t>,
    .appid = &gpon_rm_opt_threshold_appid,
    .add_error = "add rm opt threshold table error",
    .remove_error = "del rminfo error",
    .add_failed = "add rmonu opt threshold table fail",
    .remove_failed = "delete rmonu opt threshold table  fail",
};

} // namespace

constinit const MessageMap<ov_sRmOnuOptThresholdTable_attr_t, ov_gpon_rmonu_opt_threshold_attr_t>
    rmonu_opt_threshold_map(THRESHOLD_LINES);
RESTORE(rm_onu_threshold, SRMONUTHRESHOLD, OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD, rmonu_opt_threshold_map,
        CREATED_AND_SET)

int ov_app_gpon_rmonu_opt_threshold_edit(ov_sRmOnuOptThresholdTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

char ov_rmonu_opt_threshold_table_add(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, true) ? 1 : 0;
}

char ov_rmonu_opt_threshold_table_del(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, false) ? 1 : 0;
}

char ov_rmonu_status_check(const ov_sRmOnuOptThresholdTable_attr_t* row) {
    return ov_app_gpon_asked_of_onu(*row) == Asked::YES ? 1 : 0;
}

void ov_rmonu_optthreshold_mib_data_convert_to_hal(const ov_sRmOnuOptThresholdTable_attr_t* mib,
                                                   ov_gpon_rmonu_opt_threshold_attr_t* hal,
                                                   const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    rmonu_opt_threshold_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

ov_bmp_t ov_rmonu_opt_ponthreshold_table_attr_mask_get(const void* row) {
    return rmonu_opt_threshold_map.replay_mask(row);
}

int ov_rmonu_optthreshold_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD,
        .map = &rmonu_opt_threshold_map,
        .sent = SentChanges::EDITS,
        .skips_empty_mask = true,
        .failure = "set rminfo to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rmonu_optthreshold_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    return run_get_callback(READS, row, column_flag);
}

int ov_rmonu_optthd_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_rmonu_opt_threshold_init() {
    gpon_rm_opt_threshold_appid = AssignAppId();
    const CallbackRegistration app = {"app_rmonu_opt_threshold", gpon_rm_opt_threshold_appid,
                                      "app_rmonu_opt_threshold register set call back error"};
    app.add(SRMONUTHRESHOLD, CALLBACK_GET, ov_rmonu_optthreshold_table_get_callback, READS.columns);
    app.add(SRMONUTHRESHOLD, CALLBACK_SET, ov_rmonu_optthreshold_table_set_callback, SET_COLUMNS);
    app.add(SONU, CALLBACK_SET, ov_rmonu_optthd_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
