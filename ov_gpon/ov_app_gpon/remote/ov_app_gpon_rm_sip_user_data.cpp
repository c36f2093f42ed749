#include "ov_app_gpon_rm_sip_user_data.h"

#include "ov_app_gpon_rm_owner.h"
#include "ov_app_gpon_rm_pots.h"

template <>
struct UniIndex<ov_sRmVoipSipUserDataTable_attr_t> {
    static constexpr auto CARD = &ov_sRmVoipSipUserDataTable_attr_t::sRmVoipSipUserDataCardID;
    static constexpr auto KIND = &ov_sRmVoipSipUserDataTable_attr_t::sRmVoipSipUserDataCardType;
    static constexpr auto PORT = &ov_sRmVoipSipUserDataTable_attr_t::sRmVoipSipUserDataPortID;
};

int gpon_rm_sip_user_appid = 0;

namespace {

using Row = ov_sRmVoipSipUserDataTable_attr_t;
using Record = ov_rm_voip_sip_user_data_attr_t;
namespace column = sRmVoipSipUserDataTable_column;

template <auto index>
auto index_of(const Row& row) {
    return row.*index;
}

// The other columns are stored alone.
constexpr MapLine SIP_USER_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(onuCardID, index_of<UniIndex<Row>::CARD>),
    WIRE_ONLY(onuPortType, index_of<UniIndex<Row>::KIND>),
    WIRE_ONLY(onuPortID, index_of<UniIndex<Row>::PORT>),
    MAP(sRmVoipSipUserDataAgentID, agentID, OV_RM_VOIP_SIP_USER_DATA_INDEX_AGENTID),
    MAP(sRmVoipSipUserDataUserAor, user_aor, OV_RM_VOIP_SIP_USER_DATA_INDEX_USERAOR),
    MAP(sRmVoipSipUserDataDisplayName, display_name, OV_RM_VOIP_SIP_USER_DATA_INDEX_DISPLAYNAME),
    MAP(sRmVoipSipUserDataUsername, username, OV_RM_VOIP_SIP_USER_DATA_INDEX_USERNAME),
    MAP(sRmVoipSipUserDataPassword, password, OV_RM_VOIP_SIP_USER_DATA_INDEX_PASSWORD),
};

// An ONU that takes its settings from a service profile has users of its own all the same.
constexpr RmOwnerRules OWNER = {
    .templet_refuses = Writes::NONE, .comes_with_owner = true, .blank_before_bind = true};
constexpr RmDoors<Row> DOORS = {.table = "rm_sip_user_data", .appid = &gpon_rm_sip_user_appid};
constexpr UniRows<Row> ROWS = {
    .kinds = POTS_KINDS,
    .appid = &gpon_rm_sip_user_appid,
    .no_type = "can't get onutype id",
    .left = "iterate delete sip user fail",
};

} // namespace

constinit const MessageMap<ov_sRmVoipSipUserDataTable_attr_t, ov_rm_voip_sip_user_data_attr_t>
    rm_sip_user_map(SIP_USER_LINES);
RESTORE(rm_voip_sip_user, SRMVOIPSIPUSERDATA, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA, rm_sip_user_map,
        CREATED_AND_SET)

int ov_app_gpon_rm_sip_user_data_edit(ov_sRmVoipSipUserDataTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

char ov_sip_user_table_iterate_add(const ov_sOnuTable_attr_t* onu) {
    return add_unis(ROWS, *onu, onu->sOnuTableOnuTypeProfileId, onu->sOnuTableOnuTypeProfileName) ? 1 : 0;
}

char ov_sip_user_table_iterate_del(const ov_sOnuTable_attr_t* onu) {
    return remove_unis(ROWS, *onu) ? 1 : 0;
}

ov_bmp_t ov_rm_voip_sip_user_data_table_attr_mask_get(const void* row) {
    return rm_sip_user_map.replay_mask(row);
}

int ov_rm_sip_user_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA,
        .map = &rm_sip_user_map,
        .sent = SentChanges::EDITS_OF_ONUS,
        .check = rm_owner_admits<OWNER, Row>,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_SIP_USER_DATA, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm sip user data to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rm_sip_user_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_app_gpon_rm_sip_user_data_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return unis_follow_onu(ROWS, did, row);
}

void ov_app_gpon_rm_sip_user_data_init() {
    gpon_rm_sip_user_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_sip_user_data", gpon_rm_sip_user_appid,
                                      "app_rm_sip_user_data register set call back error"};
    app.add(SRMVOIPSIPUSERDATA, CALLBACK_SET, ov_rm_sip_user_table_set_callback, mibDefFlags);
    app.add(SRMVOIPSIPUSERDATA, CALLBACK_CHECK, ov_rm_sip_user_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_app_gpon_rm_sip_user_data_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
