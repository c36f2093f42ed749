#include "ov_app_gpon_rmunipoe.h"

#include "app_get_callback.h"
#include "ov_app_gpon_rm_owner.h"
#include "ov_app_gpon_rm_uni.h"

template <>
struct UniIndex<ov_sRmUniPoeTable_attr_t> {
    static constexpr auto CARD = &ov_sRmUniPoeTable_attr_t::sRmUniPoeOnuCardID;
    static constexpr auto KIND = &ov_sRmUniPoeTable_attr_t::sRmUniPoeOnuPortType;
    static constexpr auto PORT = &ov_sRmUniPoeTable_attr_t::sRmUniPoeOnuPortID;
};

int gpon_unipoe_appid = 0;

namespace {

using Row = ov_sRmUniPoeTable_attr_t;
using Record = ov_gpon_rmuni_poe_attr_t;
namespace column = sRmUniPoeTable_column;

// What the ONU reports is nothing that a card is to be told again.
#define REPORTED(name, field) MAP(name, field, OV_GPON_RMUNI_POE_ATTR_INDEX_##field).create_only()
#define SETTING(name, field) MAP(name, field, OV_GPON_RMUNI_POE_ATTR_INDEX_##field)
constexpr MapLine UNIPOE_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_INTO(uniPos, (fill_uni_place<Row, Record>)),
    SETTING(sRmUniPoeAdminState, poeAdminState),
    REPORTED(sRmUniPoePowPairsContAbility, powPairsContAbility),
    SETTING(sRmUniPoePowPairs, powPairs),
    REPORTED(sRmUniPoeDetectionSta, detectionSta),
    SETTING(sRmUniPoePowPri, powPri),
    REPORTED(sRmUniPoeMpsAbsentCount, mpsAbsentCount),
    REPORTED(sRmUniPoePowClassification, powClassification),
    REPORTED(sRmUniPoeInvalidSigCount, invalidSigCount),
    REPORTED(sRmUniPoePowDeniedCount, powDeniedCount),
    REPORTED(sRmUniPoeOverLoadCount, overLoadCount),
    REPORTED(sRmUniPoeShortCount, shortCount),
    SETTING(sRmUniPoePseLldpReqPow, pseLldpReqPow),
    REPORTED(sRmUniPoePseConsumPow, pseConsumPow),
    REPORTED(sRmUniPoePseAllocatePow, pseAllocatePow),
};
// What managers may write; a row that they make is looked at too.
constexpr MIB_Flags_t WRITTEN =
    columns_of(column::sRmUniPoeAdminState, column::sRmUniPoePowPairs, column::sRmUniPoePowPri,
               column::sRmUniPoePseLldpReqPow, column::sRmUniPoeRowStatus);

constexpr GetCallback<Row, Record> READS = {
    .message = OV_HAL_MSG_GPON_RM_UNI_POE,
    .map = &unipoe_map,
    .columns = columns_of(column::sRmUniPoePowPairsContAbility, column::sRmUniPoeDetectionSta,
                          column::sRmUniPoeMpsAbsentCount, column::sRmUniPoePowClassification,
                          column::sRmUniPoeInvalidSigCount, column::sRmUniPoePowDeniedCount,
                          column::sRmUniPoeOverLoadCount, column::sRmUniPoeShortCount,
                          column::sRmUniPoePseConsumPow, column::sRmUniPoePseAllocatePow),
    .asked = ov_app_gpon_asked_of_uni<Row>,
    .failure = "get rm unipoe from low level error",
};

constexpr RmOwnerRules OWNER = {.comes_with_owner = true};

// Managers may make rows, also of ports that the ONU's type doesn't have.
bool unipoe_admits(RowChange<Row>& change) {
    const Row& row = change.row;
    if (!change.deletes() && !is_uni_place(row)) {
        OV_LOG_ERROR("MMG", "wrong uni %u/%u", row.sRmUniPoeOnuCardID, row.sRmUniPoeOnuPortID);
        return ov_refusal_because("an ONU has no UNI %u/%u", row.sRmUniPoeOnuCardID, row.sRmUniPoeOnuPortID);
    }
    return rm_owner_admits<OWNER, Row>(change);
}

constexpr RmDoors<Row> DOORS = {.table = "rm_uni_poe", .appid = &gpon_unipoe_appid};

// Power goes over Ethernet alone.
using OnuType = ov_sOnuTypeProfileTable_attr_t;
constexpr UniKind KINDS[] = {
    {OV_GPON_RMUNI_TYPE_ETH, &OnuType::sOnuTypeProfileTableEthNum, &OnuType::sOnuTypeProfileTableCardNum,
     "can't add ONUPORTTYPE_ETH_UNI"},
};
constexpr UniRows<Row> ROWS = {
    .kinds = KINDS,
    .appid = &gpon_unipoe_appid,
    .no_type = "can't get onutype id",
    .left = "iterate delete unipoe fail",
};

} // namespace

constinit const MessageMap<ov_sRmUniPoeTable_attr_t, ov_gpon_rmuni_poe_attr_t> unipoe_map(UNIPOE_LINES);
RESTORE(rm_uni_poe, SRMUNIPOE, OV_HAL_MSG_GPON_RM_UNI_POE, unipoe_map, CREATED_AND_SET)
RESTORE_TEMPLATES(uni_poe, SRMUNIPOE, OV_HAL_MSG_GPON_RM_UNI_POE, unipoe_map, CREATED_AND_SET)

int ov_app_gpon_rmunipoe_edit(ov_sRmUniPoeTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

ov_bmp_t ov_rmuni_poe_table_attr_mask_get(const void* row) {
    return unipoe_map.replay_mask(row);
}

int ov_unipoe_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_UNI_POE,
        .map = &unipoe_map,
        .sent = SentChanges::EDITS,
        .check = unipoe_admits,
        .skips_empty_mask = true,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_UNIPOE, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm unipoe to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_unipoe_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_unipoe_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    return run_get_callback(READS, row, column_flag);
}

int ov_unipoe_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return unis_follow_onu(ROWS, did, row);
}

int ov_unipoe_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return unis_follow_profile(ROWS, did, row);
}

void ov_app_gpon_rmunipoe_init() {
    gpon_unipoe_appid = AssignAppId();
    const CallbackRegistration app = {"app_unipoe", gpon_unipoe_appid,
                                      "app_unipoe register set call back error"};
    app.add(SRMUNIPOE, CALLBACK_SET, ov_unipoe_table_set_callback, WRITTEN);
    app.add(SRMUNIPOE, CALLBACK_CHECK, ov_unipoe_table_set_check_callback, WRITTEN);
    app.add(SRMUNIPOE, CALLBACK_GET, ov_unipoe_table_get_callback, READS.columns);
    app.add(SONU, CALLBACK_SET, ov_unipoe_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET, ov_unipoe_onu_srvprofile_set_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
