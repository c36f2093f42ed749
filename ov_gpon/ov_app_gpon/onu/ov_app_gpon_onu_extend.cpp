#include "ov_app_gpon_onu_extend.h"

#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "ov_app_gpon_onu.h"
#include "ov_app_gpon_pon_role.h"
#include "ov_product_log.h"
#include "sOnuExtendInfoTable.h"

int gpon_onu_extend_appid = 0;

namespace {

namespace column = sOnuExtendInfoTable_column;
using Onu = ov_sOnuTable_attr_t;
using ExtendInfo = ov_sOnuExtendInfoTable_attr_t;

bool is_operational(const Onu& onu) {
    return onu.sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL;
}

// The ONU on the port that serves it now.
Onu onu_in_service(const ExtendInfo& info) {
    return ov_app_gpon_on_port_in_service(onu_key<Onu>(info));
}

// ---- the readings -----------------------------------------------------------------------------------------

using Row = ExtendInfo;

Asked of_an_onu(const ExtendInfo& info) {
    return find_row(onu_in_service(info)) != nullptr ? Asked::YES : Asked::NO;
}

// 0 for an ONU that isn't in operation.
Asked of_an_operational_onu(const ExtendInfo& info) {
    const Onu* onu = find_row(onu_in_service(info));
    return onu == nullptr ? Asked::NO : is_operational(*onu) ? Asked::YES : Asked::ZERO;
}

constexpr char FAILURE[] = "get onu extend info error";

namespace distance {
using Record = ov_gpon_onu_attr_t;
constexpr MapLine LINES[] = {READ_ONLY(sOnuExtendInfoPhysicalDistance, phyDistance)};
constexpr MessageMap<Row, Record> COLUMNS(LINES);
constexpr GetCallback<Row, Record> CALLBACK = {
    .message = OV_HAL_MSG_GPON_ONU,
    .map = &COLUMNS,
    .columns = columns_of(column::sOnuExtendInfoPhysicalDistance),
    .asked = of_an_onu,
    .address = [](const Row& row, Record& record) { record.ifindex = onu_ifindex_of(onu_in_service(row)); },
    .masked_by_columns = false,
    .mask = 1 << OV_GPON_ONU_ATTR_INDEX_phyDistance,
    .failure = FAILURE,
};
} // namespace distance

namespace olt_power {
using Record = ov_gpon_onu_attr_t;
constexpr MapLine LINES[] = {READ_ONLY(sOnuExtendInfoOltRxPower, oltRxPw)};
constexpr MessageMap<Row, Record> COLUMNS(LINES);
constexpr GetCallback<Row, Record> CALLBACK = {
    .message = OV_HAL_MSG_GPON_ONU,
    .map = &COLUMNS,
    .columns = columns_of(column::sOnuExtendInfoOltRxPower),
    .asked = of_an_operational_onu,
    .address = distance::CALLBACK.address,
    .masked_by_columns = false,
    .mask = 1 << OV_GPON_ONU_ATTR_INDEX_oltRxPw,
    .failure = FAILURE,
};
} // namespace olt_power

// The ONU's own optics come with its receive power; the record has no attributes to choose from.
namespace optics {
using Record = ov_gpon_rmonu_opt_ani_info_attr_t;
constexpr MapLine LINES[] = {
    READ_ONLY(sOnuExtendInfoRmOnuRxPower, rxpwr),    READ_ONLY(sOnuExtendInfoRmOnuTxPower, txpwr),
    READ_ONLY(sOnuExtendInfoRmOnuBias, biascurrent), READ_ONLY(sOnuExtendInfoRmOnuVol, powervol),
    READ_ONLY(sOnuExtendInfoRmOnuTemp, temperature),
};
constexpr MessageMap<Row, Record> COLUMNS(LINES);
constexpr GetCallback<Row, Record> CALLBACK = {
    .message = OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO,
    .map = &COLUMNS,
    .columns = columns_of(column::sOnuExtendInfoRmOnuRxPower),
    .asked = of_an_operational_onu,
    .address = [](const Row& row,
                  Record& record) { record.onuIfindex = onu_ifindex_of(onu_in_service(row)); },
    .masked_by_columns = false,
    .taken = Taken::WHOLE,
    .failure = FAILURE,
};
} // namespace optics

// ---- the row's life ------------------------------------------------------------------------------------

constexpr FollowRows<Onu, ExtendInfo> FOLLOWS_ONU = {
    .key = [](const Onu& onu) { return onu_key<ExtendInfo>(onu); },
    .add = MIB_CREATEGO_S,
    .remove = MIB_DEL_S,
    .appid = &gpon_onu_extend_appid,
    .add_failed = "add onu_extend_info error",
    .remove_failed = "delete onu_extend_info error",
};

} // namespace

int ov_onuextend_onu_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

int ov_onuextend_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    return run_get_callback(distance::CALLBACK, row, column_flag) == SET_ACCEPTED &&
                   run_get_callback(olt_power::CALLBACK, row, column_flag) == SET_ACCEPTED
               ? run_get_callback(optics::CALLBACK, row, column_flag)
               : SET_REFUSED;
}

void ov_app_gpon_onu_extend_init() {
    gpon_onu_extend_appid = AssignAppId();
    const CallbackRegistration app = {"app_onu_extend", gpon_onu_extend_appid,
                                      "app_onu_extend register onutable set call back error"};
    app.add(SONU, CALLBACK_SET, ov_onuextend_onu_table_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUEXTENDINFO, CALLBACK_GET, ov_onuextend_table_get_callback,
            columns_of(column::sOnuExtendInfoOltRxPower, column::sOnuExtendInfoRmOnuRxPower,
                       column::sOnuExtendInfoPhysicalDistance));
}
