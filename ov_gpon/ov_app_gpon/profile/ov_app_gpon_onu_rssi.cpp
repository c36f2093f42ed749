#include "ov_app_gpon_onu_rssi.h"

#include "app_set_callback.h"
#include "sOnuTable.h"

int gpon_onu_rssi_appid = 0;

namespace {

using Row = ov_sOnuRssiProfileTable_attr_t;
using Record = ov_gpon_onu_rssi_profile_t;
using Thresholds = ov_gpon_onu_rssi_profile_attr_t;
namespace column = sOnuRssiProfileTable_column;

// The record is the row up to its row status: its thresholds stand in a record of their own there.
void fill_thresholds(const Row& row, Record& record) {
    Thresholds& to = record.rssiAttr;
    to.txpwrAlarmH = row.sOnuRssiHighTxpwrAlm;
    to.txpwrAlarmL = row.sOnuRssiLowTxpwrAlm;
    to.txpwrWarnH = row.sOnuRssiHighTxpwrWarn;
    to.txpwrWarnL = row.sOnuRssiLowTxpwrWarn;
    to.rxpwrAlarmH = row.sOnuRssiHighRxpwrAlm;
    to.rxpwrAlarmL = row.sOnuRssiLowRxpwrAlm;
    to.rxpwrWarnH = row.sOnuRssiHighRxpwrWarn;
    to.rxpwrWarnL = row.sOnuRssiLowRxpwrWarn;
    to.biasAlarmH = row.sOnuRssiHighBiasAlm;
    to.biasAlarmL = row.sOnuRssiLowBiasAlm;
    to.biasWarnH = row.sOnuRssiHighBiasWarn;
    to.biasWarnL = row.sOnuRssiLowBiasWarn;
    to.volAlarmH = row.sOnuRssiHighVccAlm;
    to.volAlarmL = row.sOnuRssiLowVccAlm;
    to.volWarnH = row.sOnuRssiHighVccWarn;
    to.volWarnL = row.sOnuRssiLowVccWarn;
    to.tempAlarmH = row.sOnuRssiHighTempAlm;
    to.tempAlarmL = row.sOnuRssiLowTempAlm;
    to.tempWarnH = row.sOnuRssiHighTempWarn;
    to.tempWarnL = row.sOnuRssiLowTempWarn;
}

mib_long profile_id(const Row& row) {
    return row.profileId;
}

// The profile goes out whole; its record has no attributes.
constexpr MapLine RSSI_LINES[] = {
    WIRE_ONLY(profileId, profile_id),
    WIRE_INTO(rssiAttr, fill_thresholds),
};

bool rssi_admits(RowChange<Row>& change) {
    return ov_onu_rssi_profile_check(change.row.profileId, change.action) == 1;
}

int failed(const char* why) {
    OV_LOG_ERROR("MMG", "%s", why);
    return OV_GPON_RET_FAIL;
}

} // namespace

constinit const MessageMap<ov_sOnuRssiProfileTable_attr_t, ov_gpon_onu_rssi_profile_t>
    onu_rssi_map(RSSI_LINES);
RESTORE(onu_rssi, SONURSSIPROFILE, OV_HAL_MSG_GPON_ONU_RSSI, onu_rssi_map, CREATED)

int ov_app_gpon_onu_rssi_add(ov_sOnuRssiProfileTable_attr_t* attr, MIB_Flags_t* flags) {
    if (attr == nullptr || flags == nullptr)
        return failed("null pointer");
    if (find_stored_row(*attr) == nullptr) {
        attr->sOnuRssiProfileRowStatus = OVRA_CREATEANDGO;
        mib_flag_set(*flags, column::sOnuRssiProfileRowStatus);
    }
    return mib_access(MIB_SET, *attr, *flags, gpon_onu_rssi_appid)
               ? OV_GPON_RET_OK
               : failed("mib set error for onu rssi profile table");
}

int ov_app_gpon_onu_rssi_del(ov_sOnuRssiProfileTable_attr_t* attr) {
    if (attr == nullptr)
        return failed("null pointer");
    if (find_stored_row(*attr) == nullptr) {
        ov_refusal_because("no RSSI profile %d", attr->profileId);
        return OV_GPON_RET_NOT_FOUND;
    }
    return mib_access(MIB_DEL, *attr, mibDefFlags, gpon_onu_rssi_appid)
               ? OV_GPON_RET_OK
               : failed("mib del error for onu rssi profile table");
}

void ov_app_gpon_onu_rssi_add_default() {
    Row row = {};
    row.profileId = GPON_RSSI_PROFILE_DEFAULT;
    if (find_stored_row(row) == nullptr && !mib_access(MIB_CREATEGO_S, row, mibDefFlags, gpon_onu_rssi_appid))
        OV_LOG_ERROR("MMG", "mib add default onu rssi profile error");
}

char ov_onu_rssi_profile_check(mib_long profileId, int action) {
    if (action == OV_HAL_GPON_MSG_ACTION_CREATE)
        return 1;
    for (const ov_sOnuTable_attr_t& onu : all_rows<ov_sOnuTable_attr_t>()) {
        if (onu.sOnuTableRssiProfileId != profileId)
            continue;
        ov_refusal_because("gpon-onu%d/%d:%d has RSSI profile %d", onu.slotID, onu.portID, onu.onuId,
                           profileId);
        OV_LOG_ERROR("MMG", "this rssi profile is using in onu table! profileId:%d", profileId);
        return 0;
    }
    return 1;
}

int ov_onu_rssi_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_ONU_RSSI,
        .map = &onu_rssi_map,
        .check = rssi_admits,
        .failure = "set ONU RSSI profile error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

void ov_app_gpon_onu_rssi_init() {
    gpon_onu_rssi_appid = AssignAppId();
    const CallbackRegistration app = {"app_onu_rssi", gpon_onu_rssi_appid,
                                      "app onu rssi register onuRssiTable set call back error"};
    app.add(SONURSSIPROFILE, CALLBACK_SET, ov_onu_rssi_table_set_callback, mibDefFlags);
    ov_app_gpon_onu_rssi_add_default();
}
