#include "ov_app_gpon_rmcapa.h"

#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_set_callback.h"
#include "ov_app_gpon_owner.h"

int gpon_rmcapa_appid = 0;

namespace {

using Row = ov_sRmOnuCapaTable_attr_t;
using Record = ov_gpon_rmonu_capa_attr_t;
namespace column = sRmOnuCapaTable_column;

constexpr MapLine RMCAPA_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    READ_ONLY(sRmOnuCapaTcontNum, tcontNum),
    READ_ONLY(sRmOnuCapaGemucNum, gemucNum),
    READ_ONLY(sRmOnuCapaQueueNum, queueNum),
    READ_ONLY(sRmOnuCapaUsQueueNum, usQueueNum),
    READ_ONLY(sRmOnuCapaDsQueueNum, dsQueueNum),
    READ_ONLY(sRmOnuCapaSchedulerNum, schedulerNum),
    READ_ONLY(sRmOnuCapaCardNum, cardNum),
    READ_ONLY(sRmOnuCapaEthuniNum, ethuniNum),
    READ_ONLY(sRmOnuCapaVeipNum, veipNum),
    READ_ONLY(sRmOnuCapaVideoNum, videoNum),
    READ_ONLY(sRmOnuCapaOperationId, operationId),
    READ_ONLY(sRmOnuCapaSpecVersion, specVersion),
    READ_ONLY(sRmOnuCapaOnuType, onuType),
    READ_ONLY(sRmOnuCapaTxpowerCtrl, txpowerCtrl),
    READ_ONLY(sRmOnuCapaCard1EthuniNum, card1ethuniNum),
    READ_ONLY(sRmOnuCapaCard2EthuniNum, card2ethuniNum),
    READ_ONLY(sRmOnuCapaCard3EthuniNum, card3ethuniNum),
    READ_ONLY(sRmOnuCapaCard4EthuniNum, card4ethuniNum),
    READ_ONLY(sRmOnuCapaTrafficMagOption, trafficMagOption),
    READ_ONLY(sRmOnuCapaQueueNumberTcont, queueNumberTcont),
};
// All but the row status.
constexpr MIB_Flags_t READ_COLUMNS = [] {
    MIB_Flags_t columns = {};
    for (unsigned each = column::sRmOnuCapaTcontNum; each <= column::sRmOnuCapaQueueNumberTcont; ++each)
        mib_flag_set(columns, each);
    return columns;
}();

constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_ONU = {
    .key = [](const ov_sOnuTable_attr_t& onu) { return onu_key<Row>(onu); },
    .add = MIB_CREATEGO_N,
    .remove = MIB_DEL_N,
    .appid = &gpon_rmcapa_appid,
    .add_error = "add rmcapa error",
    .remove_error = "del rmcapa error",
};

} // namespace

constinit const MessageMap<ov_sRmOnuCapaTable_attr_t, ov_gpon_rmonu_capa_attr_t> rmcapa_map(RMCAPA_LINES);

char ov_rmcapa_table_add(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, true) ? 1 : 0;
}

char ov_rmcapa_table_del(const ov_sOnuTable_attr_t* onu) {
    return follow_all(FOLLOWS_ONU, *onu, false) ? 1 : 0;
}

char ov_rmcapa_check(const ov_sRmOnuCapaTable_attr_t* row) {
    return ov_app_gpon_asked_of_onu(*row) == Asked::YES ? 1 : 0;
}

void srmcapa_hal_data_convert_to_mib(const ov_gpon_rmonu_capa_attr_t* hal, ov_sRmOnuCapaTable_attr_t* mib) {
    rmcapa_map.decode(hal, mib, mibDefFlags);
}

int ov_rmcapa_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    static constexpr GetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_CAPA,
        .map = &rmcapa_map,
        .columns = READ_COLUMNS,
        .asked = ov_app_gpon_asked_of_onu,
        .masked_by_columns = false,
        .taken = Taken::WHOLE,
        .failure = "get rmcapa from low level error",
    };
    return run_get_callback(CALLBACK, row, column_flag);
}

int ov_rmcapa_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_rmcapa_init() {
    gpon_rmcapa_appid = AssignAppId();
    const CallbackRegistration app = {"app_rmcapa", gpon_rmcapa_appid,
                                      "app_rmcapa register set call back error"};
    app.add(SRMONUCAPA, CALLBACK_GET, ov_rmcapa_table_get_callback, READ_COLUMNS);
    app.add(SONU, CALLBACK_SET, ov_rmcapa_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
