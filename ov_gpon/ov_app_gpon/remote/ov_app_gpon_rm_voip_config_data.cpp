#include "ov_app_gpon_rm_voip_config_data.h"

#include "ov_app_gpon_rm_owner.h"

int gpon_rm_voip_config_data_appid = 0;

namespace {

using Row = ov_sRmVoipConfigDataTable_attr_t;
using Record = ov_rm_voip_config_data_attr_t;
namespace column = sRmVoipConfigDataTable_column;

void fill_mac_vlan(const Row& row, Record& record) {
    std::memcpy(record.voipMacVlan, row.sRmVoipConfigDataVoipMacVlan, sizeof record.voipMacVlan);
}

// What the ONU reports is nothing that a card is to be told again.
constexpr MapLine VOIP_CONFIG_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    MAP(sRmVoipConfigDataAvaiSigProtocols, avaiSigProtocols, OV_RM_VOIP_CONFIG_DATA_INDEX_AVAISIGPROTOCOLS)
        .create_only(),
    MAP(sRmVoipConfigDataSigProtocolUsed, sigProtocolUsed, OV_RM_VOIP_CONFIG_DATA_INDEX_SIGPROTOCOLUSED),
    MAP(sRmVoipConfigDataAvaiVoipConfigMethods, avaiVoipConfigMethods,
        OV_RM_VOIP_CONFIG_DATA_INDEX_AVAIVOIPCONFIGMETHODS)
        .create_only(),
    MAP(sRmVoipConfigDataVoipConfigMethodUsed, voipConfigMethodUsed,
        OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPCONFIGMETHODUSED),
    MAP(sRmVoipConfigDataVoipConfigAddressPtr, voipConfigAddressPtr,
        OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPCONFIGADDRESSPTR),
    MAP(sRmVoipConfigDataVoipConfigState, voipConfigState, OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPCONFIGSTATE)
        .create_only(),
    MAP(sRmVoipConfigDataRetrieveProfile, retrieveProfile, OV_RM_VOIP_CONFIG_DATA_INDEX_RETRIEVEPROFILE),
    MAP(sRmVoipConfigDataProfileVersion, profileVeresion, OV_RM_VOIP_CONFIG_DATA_INDEX_PROFILEVERSION)
        .create_only(),
    MAP_INTO(sRmVoipConfigDataVoipMacVlan, voipMacVlan, OV_RM_VOIP_CONFIG_DATA_INDEX_VOIPMACVLAN,
             fill_mac_vlan),
};

constexpr RmOwnerRules OWNER = {.comes_with_owner = true, .blank_before_bind = true};
constexpr RmDoors<Row> DOORS = {.table = "rm_voip_config_data", .appid = &gpon_rm_voip_config_data_appid};
constexpr FollowRows<ov_sOnuTable_attr_t, Row> FOLLOWS_OWNER = {
    .key = onu_key<Row, ov_sOnuTable_attr_t>,
    .add = MIB_CREATEGO_N,
    .remove = MIB_DEL_N,
    .appid = &gpon_rm_voip_config_data_appid,
    .add_error = "add rm voip config data error",
    .remove_error = "del rm voip config data error",
};

} // namespace

constinit const MessageMap<ov_sRmVoipConfigDataTable_attr_t, ov_rm_voip_config_data_attr_t>
    rm_voip_config_data_map(VOIP_CONFIG_LINES);
RESTORE(rm_voip_cfg, SRMVOIPCONFIGDATA, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA, rm_voip_config_data_map,
        CREATED_AND_SET)
RESTORE_TEMPLATES(voip_cfg, SRMVOIPCONFIGDATA, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA,
                  rm_voip_config_data_map, CREATED_AND_SET)

int ov_app_gpon_rm_voip_config_data_edit(ov_sRmVoipConfigDataTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

ov_bmp_t ov_rm_voip_config_data_table_attr_mask_get(const void* row) {
    return rm_voip_config_data_map.replay_mask(row);
}

int ov_rm_voip_config_data_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA,
        .map = &rm_voip_config_data_map,
        .sent = SentChanges::EDITS,
        .check = rm_owner_admits<OWNER, Row>,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_VOIP_CONF_DATA, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm voip config data to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rm_voip_config_data_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_app_gpon_rm_voip_config_data_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_OWNER, did, row, column_flag);
}

int ov_app_gpon_rm_voip_config_data_onu_srvprofile_set_callback(MIBDID did, void* row,
                                                                MIB_Flags_t /*column_flag*/) {
    return rm_row_follows_profile(FOLLOWS_OWNER, did, row);
}

void ov_app_gpon_rm_voip_conig_data_init() {
    gpon_rm_voip_config_data_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_voip_config_data", gpon_rm_voip_config_data_appid,
                                      "app_rm_voip_config_data register set call back error"};
    app.add(SRMVOIPCONFIGDATA, CALLBACK_SET, ov_rm_voip_config_data_table_set_callback, mibDefFlags);
    app.add(SRMVOIPCONFIGDATA, CALLBACK_CHECK, ov_rm_voip_config_data_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_app_gpon_rm_voip_config_data_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET, ov_app_gpon_rm_voip_config_data_onu_srvprofile_set_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
