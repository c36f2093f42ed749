#include "ov_app_gpon_rm_tr069_mgmt.h"

#include "ov_app_gpon_rm_owner.h"

int gpon_rm_tr069_mgmt_appid = 0;

namespace {

using Row = ov_sRmTr069MgmtTable_attr_t;
using Record = ov_gpon_onu_tr069_mgmt_attr_t;
namespace column = sRmTr069MgmtTable_column;

constexpr MapLine TR069_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    MAP(sRmTr069MgmtAdminState, adminstate, OV_GPON_ONU_TR069_INDEX_adminstate),
    MAP(sRmTr069MgmtVlanId, vlanid, OV_GPON_ONU_TR069_INDEX_vlan),
    MAP(sRmTr069MgmtPri, pri, OV_GPON_ONU_TR069_INDEX_pri),
    MAP(sRmTr069MgmtAcsAddr, acsAddr, OV_GPON_ONU_TR069_INDEX_acs_addr),
    MAP(sRmTr069MgmtValidateMode, validateMode, OV_GPON_ONU_TR069_INDEX_acs_valid_mode),
    MAP(sRmTr069MgmtUsername, username, OV_GPON_ONU_TR069_INDEX_acs_username),
    MAP(sRmTr069MgmtPassword, password, OV_GPON_ONU_TR069_INDEX_acs_password),
};

// A service profile has no such row, so that any ONU may have settings of its own.
constexpr RmOwnerRules OWNER = {.templet_refuses = Writes::NONE, .comes_with_owner = true};
constexpr RmDoors<Row> DOORS = {.table = "rm_tr069_mgmt", .appid = &gpon_rm_tr069_mgmt_appid};
constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_ONU = {
    .key = onu_key<Row, ov_sOnuTable_attr_t>,
    .add = MIB_CREATEGO_S_N, // bookkeeping: the ONU has a client anyway
    .remove = MIB_DEL_S_N,
    .appid = &gpon_rm_tr069_mgmt_appid,
    .add_error = "add rm tr069 mgmt error",
    .remove_error = "del rm tr069 mgmt error",
};

} // namespace

constinit const MessageMap<ov_sRmTr069MgmtTable_attr_t, ov_gpon_onu_tr069_mgmt_attr_t>
    rm_tr069_mgmt_map(TR069_LINES);
RESTORE(rm_tr069, SRMTR069MGMT, OV_HAL_MSG_GPON_RMONU_TR069_SRV, rm_tr069_mgmt_map, CREATED_AND_SET)

int ov_app_gpon_rm_tr069_mgmt_edit(ov_sRmTr069MgmtTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

ov_bmp_t ov_rm_tr069_mgmt_table_attr_mask_get(const void* row) {
    return rm_tr069_mgmt_map.replay_mask(row);
}

int ov_rm_tr069_mgmt_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_TR069_SRV,
        .map = &rm_tr069_mgmt_map,
        .sent = SentChanges::EDITS,
        .check = rm_owner_admits<OWNER, Row>,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_TR069MGMT, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm tr069 mgmt to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rm_tr069_mgmt_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_rm_tr069_mgmt_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_ONU, did, row, column_flag);
}

void ov_app_gpon_rm_tr069_mgmt_init() {
    gpon_rm_tr069_mgmt_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_tr069_mgmt", gpon_rm_tr069_mgmt_appid,
                                      "app_rm_tr069_mgmt register set call back error"};
    app.add(SRMTR069MGMT, CALLBACK_SET, ov_rm_tr069_mgmt_table_set_callback, mibDefFlags);
    app.add(SRMTR069MGMT, CALLBACK_CHECK, ov_rm_tr069_mgmt_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_rm_tr069_mgmt_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
