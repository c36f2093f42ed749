#include "app_follow_rows.h"
#include "app_get_callback.h"
#include "app_set_callback.h"
#include "ov_app_gpon_onu_update.h"
#include "ov_app_gpon_owner.h"

int gpon_onuupdstatus_appid = 0;

namespace {

using Row = ov_sOnuUpdStatusTable_attr_t;
namespace column = sOnuUpdStatusTable_column;

// ---- how far an upgrade is --------------------------------------------------------------------------------

namespace progress {

using Record = ov_gpon_onu_update_status_attr_t;

constexpr MapLine LINES[] = {
    WIRE_ONLY(onuindex, onu_ifindex_of<Row>),   READ_ONLY(sOnuUpdStatusVerName, verName),
    READ_ONLY(sOnuUpdStatusVerSize, verSize),   READ_ONLY(sOnuUpdStatusTxSize, transmitted),
    READ_ONLY(sOnuUpdStatusCurrStatus, status),
};
constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_RMONU_UPD_STATUS,
    .map = &onu_update_status_map,
    .columns = columns_of(column::sOnuUpdStatusVerName),
    .masked_by_columns = false,
};

} // namespace progress

// ---- the two images ---------------------------------------------------------------------------------------

namespace images {

using Record = ov_gpon_onu_update_info_attr_t;

constexpr MapLine LINES[] = {
    WIRE_ONLY(onuindex, onu_ifindex_of<Row>),           READ_ONLY(sOnuUpdInfoProCode, product_code),
    READ_ONLY(sOnuUpdInfo0VerName, region1_Name),       READ_ONLY(sOnuUpdInfo0isValid, region1_isvalid),
    READ_ONLY(sOnuUpdInfo0isActived, region1_isactive), READ_ONLY(sOnuUpdInfo0isCommited, region1_iscommit),
    READ_ONLY(sOnuUpdInfo1VerName, region2_Name),       READ_ONLY(sOnuUpdInfo1isValid, region2_isvalid),
    READ_ONLY(sOnuUpdInfo1isActived, region2_isactive), READ_ONLY(sOnuUpdInfo1isCommited, region2_iscommit),
};
constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_RMONU_IMG_INFO,
    .map = &onu_update_images_map,
    .columns = columns_of(column::sOnuUpdInfoProCode),
    .masked_by_columns = false,
};

} // namespace images

// Asks the card when the column is read, and takes its answer. `result` is that of the last card that was
// asked.
template <typename Record>
void read_when_asked(const GetCallback<Row, Record>& callback, Row& row, const MIB_Flags_t& columns,
                     int& result) {
    if (!any_column(columns_in(columns, callback.columns)))
        return;
    Record record = {};
    result = ask_card(callback, row, columns, record);
    if (result == OV_GPON_RET_OK)
        callback.map->decode(&record, &row, mibDefFlags);
}

constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_ONU = {
    .key = onu_key<Row, ov_sOnuTable_attr_t>,
    .appid = &gpon_onuupdstatus_appid,
    .add_error = "add onu update status table error",
    .remove_error = "del onu update status table error",
};

} // namespace

constinit const MessageMap<ov_sOnuUpdStatusTable_attr_t, ov_gpon_onu_update_status_attr_t>
    onu_update_status_map(progress::LINES);
constinit const MessageMap<ov_sOnuUpdStatusTable_attr_t, ov_gpon_onu_update_info_attr_t>
    onu_update_images_map(images::LINES);

int ov_pon_onu_update_status_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    Row& status = *static_cast<Row*>(row);
    if (ov_app_gpon_asked_of_onu(status) != Asked::YES)
        return SET_ACCEPTED;
    int result = OV_GPON_RET_OK;
    read_when_asked(progress::READS, status, column_flag, result);
    read_when_asked(images::READS, status, column_flag, result);
    if (card_answer(result, NotSupported::ACCEPT, "MMG", "get which not support") != CardAnswer::FAILED)
        return SET_ACCEPTED;
    OV_LOG_ERROR("MMG", "get onu extend info error");
    return SET_REFUSED;
}

int ov_pon_onuupd_status_table_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_onu_update_status_init() {
    gpon_onuupdstatus_appid = AssignAppId();
    const CallbackRegistration app = {"app_pon_onuupd_status", gpon_onuupdstatus_appid,
                                      "app_pon_onuupd_status register call back error"};
    app.add(SONUUPDSTATUS, CALLBACK_GET, ov_pon_onu_update_status_table_get_callback,
            columns_of(column::sOnuUpdStatusVerName, column::sOnuUpdInfoProCode));
    app.add(SONU, CALLBACK_SET, ov_pon_onuupd_status_table_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
