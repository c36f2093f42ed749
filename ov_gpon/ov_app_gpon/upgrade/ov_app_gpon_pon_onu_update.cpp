#include <optional>

#include "app_follow_rows.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_product_onu_image.h"
#include "sPonTable.h"

int gpon_onuupd_appid = 0;

namespace {

using Row = ov_sOnuUpdateTable_attr_t;
using Record = ov_gpon_onu_update_attr_t;
namespace column = sOnuUpdateTable_column;

constexpr bool is_start(const Row& row) {
    return row.sOnuUpdateAction == SONUUPDATEACTION_START;
}

constexpr MapLine UPDATE_LINES[] = {
    WIRE_ONLY(ifindex, port_ifindex_of<Row>),
    UNMASKED(sOnuUpdateOnuMask, onuMask),
    UNMASKED(sOnuUpdateAction, updAct),
    UNMASKED(sOnuUpdateVersionName, versionName).applies_when(ROW_IS(is_start)),
};

constexpr MIB_Flags_t ACTION = columns_of(column::sOnuUpdateAction);

int stage_image(const Row& row) {
    return is_start(row) ? ov_product_onuupdate_mibdata_convert_to_hal(row.sOnuUpdateVersionName)
                         : OV_GPON_RET_OK;
}

std::optional<int> only_actions(RowChange<Row>& change) {
    if (mib_flag_is_set(change.columns, column::sOnuUpdateAction))
        return std::nullopt;
    return SET_ACCEPTED;
}

bool reserve_image(RowChange<Row>& change) {
    if (!mib_flag_is_set(change.columns, column::sOnuUpdateAction) ||
        stage_image(change.row) == OV_GPON_RET_OK)
        return true;
    return ov_refusal_because("the firmware file \"%s\" can't be copied for the cards",
                              change.row.sOnuUpdateVersionName);
}

bool waits_for_card(const RowChange<Row>& change) {
    return !is_start(change.row);
}

constexpr FollowRows<ov_sPonTable_attr_t, Row> FOLLOWS_PORT = {
    .key = port_key<Row, ov_sPonTable_attr_t>,
    .appid = &gpon_onuupd_appid,
    .add_error = "add pon onu update table error",
    .remove_error = "del pon onu update table error",
};

} // namespace

constinit const MessageMap<ov_sOnuUpdateTable_attr_t, ov_gpon_onu_update_attr_t> onu_update_map(UPDATE_LINES);

int ov_app_gpon_pon_onu_update_edit(ov_sOnuUpdateTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET, attr, flag, gpon_onuupd_appid, "mib set error for pon_onu_update table");
}

int ov_app_gpon_pon_onu_update_edit_no_callback(ov_sOnuUpdateTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET_S, attr, flag, gpon_onuupd_appid, "mib set error for pon_onu_update table");
}

int sonuupdate_mib_data_convert_to_hal(const ov_sOnuUpdateTable_attr_t* mib, ov_gpon_onu_update_attr_t* hal) {
    *hal = {};
    onu_update_map.encode(mib, hal);
    return stage_image(*mib);
}

int ov_pon_onu_update_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_UPDATE,
        .map = &onu_update_map,
        .sent = SentChanges::EDITS,
        .reserve = reserve_image,
        .before_send = only_actions,
        .waits = waits_for_card,
        .failure = "set onu update action to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_pon_onu_update_table_pontable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_PORT, did, row, column_flag);
}

void ov_app_gpon_pon_onu_update_init() {
    gpon_onuupd_appid = AssignAppId();
    const CallbackRegistration app = {"app_pon_onuupd", gpon_onuupd_appid,
                                      "app_pon_onuupd register call back error"};
    app.add(SONUUPDATE, CALLBACK_SET, ov_pon_onu_update_table_set_callback, ACTION);
    app.add(SPON, CALLBACK_SET, ov_pon_onu_update_table_pontable_set_callback,
            columns_of(sPonTable_column::sPonTableRowStatus));
}
