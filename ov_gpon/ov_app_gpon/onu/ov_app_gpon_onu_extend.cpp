#include "ov_app_gpon_onu_extend.h"

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

// The port that serves the ONU now: of a protection group that is the one in service.
Onu onu_in_service(const ExtendInfo& info) {
    auto onu = onu_key<Onu>(info);
    const bool in_group = ov_app_gpon_port_is_protect_pon_port(onu.slotID, onu.portID) == 1 ||
                          ov_app_gpon_port_is_group_work_pon_port(onu.slotID, onu.portID) == 1;
    if (in_group && ov_app_gpon_port_is_group_active_pon_port(onu.slotID, onu.portID) == 0)
        move_to_port(onu, ov_pon_protect_group_get_pair_port_index(onu.slotID, onu.portID));
    return onu;
}

// ---- the readings: each gives the card's result ----------------------------------------------------------

// One attribute of the ONU's record, live.
int get_onu_record(const Onu& onu, int attribute, ov_gpon_onu_attr_t& record) {
    record.ifindex = onu_ifindex_of(onu);
    return ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_ONU, OV_HAL_GPON_MSG_ACTION_GET, &record,
                                static_cast<ov_bmp_t>(1u << attribute), 1);
}

int read_distance(const Onu& onu, ExtendInfo& info) {
    ov_gpon_onu_attr_t record = {};
    const int result = get_onu_record(onu, OV_GPON_ONU_ATTR_INDEX_phyDistance, record);
    if (result == OV_GPON_RET_OK)
        info.sOnuExtendInfoPhysicalDistance = record.phyDistance;
    return result;
}

int read_olt_power(const Onu& onu, ExtendInfo& info) {
    ov_gpon_onu_attr_t record = {};
    const int result =
        is_operational(onu) ? get_onu_record(onu, OV_GPON_ONU_ATTR_INDEX_oltRxPw, record) : OV_GPON_RET_OK;
    if (result == OV_GPON_RET_OK)
        info.sOnuExtendInfoOltRxPower = record.oltRxPw; // 0 for an ONU that isn't in operation
    return result;
}

int read_onu_optics(const Onu& onu, ExtendInfo& info) {
    ov_gpon_rmonu_opt_ani_info_attr_t record = {};
    record.onuIfindex = onu_ifindex_of(onu);
    // The record has no attributes to choose from.
    const int result = is_operational(onu) ? ov_hal_gpon_msg_send(OV_HAL_MSG_GPON_RMONU_ANI_OPT_INFO,
                                                                  OV_HAL_GPON_MSG_ACTION_GET, &record, 0, 1)
                                           : OV_GPON_RET_OK;
    if (result != OV_GPON_RET_OK)
        return result;
    info.sOnuExtendInfoRmOnuRxPower = record.rxpwr;
    info.sOnuExtendInfoRmOnuTxPower = record.txpwr;
    info.sOnuExtendInfoRmOnuBias = record.biascurrent;
    info.sOnuExtendInfoRmOnuVol = record.powervol;
    info.sOnuExtendInfoRmOnuTemp = record.temperature;
    return result;
}

struct Reading {
    unsigned column;
    int (*read)(const Onu& onu, ExtendInfo& info);
};
constexpr Reading READINGS[] = {
    {column::sOnuExtendInfoPhysicalDistance, read_distance},
    {column::sOnuExtendInfoOltRxPower, read_olt_power},
    {column::sOnuExtendInfoRmOnuRxPower, read_onu_optics},
};

// What a card doesn't support is left as it is.
int answer_to(int result) {
    if (result == OV_GPON_RET_OK)
        return SET_ACCEPTED;
    if (result == OV_GPON_RET_NOT_SUPPORT) {
        OV_LOG_WARN("MMG", "get which not support");
        return SET_ACCEPTED;
    }
    OV_LOG_ERROR("MMG", "get onu extend info error");
    return SET_REFUSED;
}

// ---- the row's life ------------------------------------------------------------------------------------

bool add_row(ExtendInfo info) {
    return find_stored_row(info) != nullptr ||
           mib_access(MIB_CREATEGO_S, info, mibDefFlags, gpon_onu_extend_appid);
}

bool delete_row(ExtendInfo info) {
    return find_stored_row(info) == nullptr ||
           mib_access(MIB_DEL_S, info, mibDefFlags, gpon_onu_extend_appid);
}

} // namespace

int ov_onuextend_onu_table_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    const auto info = onu_key<ExtendInfo>(*static_cast<const Onu*>(row));
    const int mode = MibRowStatusGet(did, row);
    if (mode == MODE_CRE && !add_row(info)) {
        OV_LOG_ERROR("MMG", "add onu_extend_info error");
        return SET_REFUSED;
    }
    if (mode == MODE_DEL && !delete_row(info)) {
        OV_LOG_ERROR("MMG", "delete onu_extend_info error");
        return SET_REFUSED;
    }
    return SET_ACCEPTED;
}

int ov_onuextend_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    auto& info = *static_cast<ExtendInfo*>(row);
    const Onu* stored = find_row(onu_in_service(info));
    if (stored == nullptr)
        return SET_ACCEPTED; // no ONU, no reading
    const Onu onu = *stored;
    for (const Reading& reading : READINGS)
        if (mib_flag_is_set(column_flag, reading.column) && answer_to(reading.read(onu, info)) == SET_REFUSED)
            return SET_REFUSED;
    return SET_ACCEPTED;
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
