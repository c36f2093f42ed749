#include "ov_app_gpon_rmwifi.h"

#include "ov_app_gpon_rm_numbered.h"

int gpon_rmwifi_appid = 0;

namespace {

using Row = ov_sRmWifiTable_attr_t;
using Record = ov_gpon_rmwifi_attr_t;
namespace column = sRmWifiTable_column;

mib_ulong number_of(const Row& row) {
    return row.sRmWifiIndex;
}

// Without attributes: the whole record counts.
constexpr MapLine RMWIFI_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(wifiIndex, number_of),
    UNMASKED(sRmWifiMode, wifiMode),
    UNMASKED(sRmWifiChannel, wifiChannel),
    UNMASKED(sRmWifiName, wifiName),
    UNMASKED(sRmWifiBandwidth, wifiBandwidth),
    UNMASKED(sRmWifiRate, wifiRate),
    UNMASKED(sRmWifiGuardInterval, wifiGuardInterval),
    UNMASKED(sRmWifiBeaconInterval, wifiBeaconInterval),
    UNMASKED(sRmWifiDtimInterval, wifiDtimInterval),
    UNMASKED(sRmWifiSecurityMode, wifiSecurityMode),
    UNMASKED(sRmWifiShareKey, wifiShareKey),
    UNMASKED(sRmWifiWepAuth, wifiWepAuth),
    UNMASKED(sRmWifiWepKeybit, wifiWepKeybit),
    UNMASKED(sRmWifiKeyIndex, wifiKeyIndex),
    UNMASKED(sRmWifiKeyOne, wifiKeyOne),
    UNMASKED(sRmWifiKeyTwo, wifiKeyTwo),
    UNMASKED(sRmWifiKeyThree, wifiKeyThree),
    UNMASKED(sRmWifiKeyFour, wifiKeyFour),
    UNMASKED(sRmWifiWpaEncrypt, wifiWpaEncrypt),
    UNMASKED(sRmWifiApIso, wifiApIso),
    UNMASKED(sRmWifiBroadcastCancel, wifiBroadcastCancel),
    UNMASKED(sRmWifiSsidEnable, wifiSsidEnable),
    UNMASKED(sRmWifiEnable, wifiEnable),
};

constexpr RmNumbered<Row> NUMBERED = {
    .word = "wifi",
    .number = &Row::sRmWifiIndex,
    .doors = {.table = "rm_wifi",
              .appid = &gpon_rmwifi_appid,
              .status_column = column::sRmWifiRowStatus,
              .status = &Row::sRmWifiRowStatus},
};
constexpr OwnedRows<Row> OWNED = {.appid = &gpon_rmwifi_appid, .stops = true};

} // namespace

constinit const MessageMap<ov_sRmWifiTable_attr_t, ov_gpon_rmwifi_attr_t> rmwifi_map(RMWIFI_LINES);
RESTORE(rm_wifi, SRMWIFI, OV_HAL_MSG_GPON_RM_WIFI, rmwifi_map, CREATED)
RESTORE_TEMPLATES(wifi, SRMWIFI, OV_HAL_MSG_GPON_RM_WIFI, rmwifi_map, CREATED)

int ov_app_gpon_rm_wifi_add(ov_sRmWifiTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    return NUMBERED.add(attr, flag, is_need_check);
}

int ov_app_gpon_rm_wifi_edit(ov_sRmWifiTable_attr_t* attr, MIB_Flags_t* flag) {
    return NUMBERED.doors.edit(attr, flag);
}

int ov_app_gpon_rm_wifi_del(ov_sRmWifiTable_attr_t* attr) {
    return NUMBERED.doors.del(attr);
}

char ov_app_gpon_rm_wifi_check(const ov_sRmWifiTable_attr_t* attr, int action, MIB_Flags_t /*flags*/) {
    return NUMBERED.admits(*attr, action) ? 1 : 0;
}

int ov_rmwifi_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_WIFI,
        .map = &rmwifi_map,
        .check = passes<ov_app_gpon_rm_wifi_check, Row>,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_WIFI, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm wifi to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rmwifi_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_rmwifi_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_rows_go_with_onu(OWNED, "iterate delete rmwifi fail", did, row);
}

void ov_app_gpon_rmwifi_init() {
    gpon_rmwifi_appid = AssignAppId();
    const CallbackRegistration app = {"app_rmwifi", gpon_rmwifi_appid,
                                      "app_rmwifi register set call back error"};
    app.add(SRMWIFI, CALLBACK_SET, ov_rmwifi_table_set_callback, mibDefFlags);
    app.add(SRMWIFI, CALLBACK_CHECK, ov_rmwifi_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_rmwifi_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
