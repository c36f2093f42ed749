#include "ov_app_gpon_rmonupoe.h"

#include "app_get_callback.h"
#include "ov_app_gpon_rm_owner.h"

int gpon_onupoe_appid = 0;

namespace {

using Row = ov_sRmOnuPoeTable_attr_t;
using Record = ov_gpon_rmonu_poe_attr_t;
namespace column = sRmOnuPoeTable_column;

// What the ONU reports is nothing that a card is to be told again.
#define REPORTED(name, field) MAP(name, field, OV_GPON_RMONU_POE_ATTR_INDEX_##field).create_only()
#define SETTING(name, field) MAP(name, field, OV_GPON_RMONU_POE_ATTR_INDEX_##field)
constexpr MapLine ONUPOE_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    REPORTED(sRmOnuPoeNominalPoePow, nominalPoePow),
    REPORTED(sRmOnuPoeOperStatus, operStatus),
    REPORTED(sRmOnuPoePseConsumPow, pseConsumPow),
    REPORTED(sRmOnuPoePseAllocatePow, pseAllocatePow),
    SETTING(sRmOnuPoeUsageThr, usageThr),
    SETTING(sRmOnuPoeArc, arc),
    SETTING(sRmOnuPoeExtPowAvl, extPowAvl),
    SETTING(sRmOnuPoeExtBatteryPowAvl, extBatteryPowAvl),
    REPORTED(sRmOnuPoeInputVoltage, inputVoltage),
    REPORTED(sRmOnuPoeInputCur, inputCur),
};
// What managers may write; a row that they make is looked at too.
constexpr MIB_Flags_t WRITTEN =
    columns_of(column::sRmOnuPoeUsageThr, column::sRmOnuPoeArc, column::sRmOnuPoeExtPowAvl,
               column::sRmOnuPoeExtBatteryPowAvl, column::sRmOnuPoeRowStatus);

constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_RM_ONU_POE,
    .map = &onupoe_map,
    .columns =
        columns_of(column::sRmOnuPoeNominalPoePow, column::sRmOnuPoeOperStatus, column::sRmOnuPoePseConsumPow,
                   column::sRmOnuPoePseAllocatePow, column::sRmOnuPoeInputVoltage, column::sRmOnuPoeInputCur),
    .asked = ov_app_gpon_asked_of_onu,
    .failure = "get rm onupoe from low level error",
};

constexpr RmOwnerRules OWNER = {.comes_with_owner = true};
constexpr RmDoors<Row> DOORS = {.table = "rm_onu_poe", .appid = &gpon_onupoe_appid};
constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_OWNER = {
    .key = onu_key<Row, ov_sOnuTable_attr_t>,
    .add = MIB_CREATEGO_N,
    .remove = MIB_DEL_N,
    .appid = &gpon_onupoe_appid,
    .add_error = "add rm onupoe error",
    .remove_error = "del rm onupoe error",
};

} // namespace

constinit const MessageMap<ov_sRmOnuPoeTable_attr_t, ov_gpon_rmonu_poe_attr_t> onupoe_map(ONUPOE_LINES);
RESTORE(rm_onu_poe, SRMONUPOE, OV_HAL_MSG_GPON_RM_ONU_POE, onupoe_map, CREATED_AND_SET)
RESTORE_TEMPLATES(onu_poe, SRMONUPOE, OV_HAL_MSG_GPON_RM_ONU_POE, onupoe_map, CREATED_AND_SET)

int ov_app_gpon_rmonupoe_edit(ov_sRmOnuPoeTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

ov_bmp_t ov_rmonu_poe_table_attr_mask_get(const void* row) {
    return onupoe_map.replay_mask(row);
}

int ov_rm_onupoe_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_ONU_POE,
        .map = &onupoe_map,
        .sent = SentChanges::EDITS,
        .check = rm_owner_admits<OWNER, Row>,
        .skips_empty_mask = true,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_ONUPOE, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm onupoe to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rm_onupoe_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_rm_onupoe_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    return run_get_callback(READS, row, column_flag);
}

int ov_rm_onupoe_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_OWNER, did, row, column_flag);
}

int ov_onupoe_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_row_follows_profile(FOLLOWS_OWNER, did, row);
}

void ov_app_gpon_rmonupoe_init() {
    gpon_onupoe_appid = AssignAppId();
    const CallbackRegistration app = {"app_rmonupoe", gpon_onupoe_appid,
                                      "app_rmonupoe register set call back error"};
    app.add(SRMONUPOE, CALLBACK_SET, ov_rm_onupoe_table_set_callback, WRITTEN);
    app.add(SRMONUPOE, CALLBACK_CHECK, ov_rm_onupoe_table_set_check_callback, WRITTEN);
    app.add(SRMONUPOE, CALLBACK_GET, ov_rm_onupoe_table_get_callback, READS.columns);
    app.add(SONU, CALLBACK_SET, ov_rm_onupoe_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET, ov_onupoe_onu_srvprofile_set_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
