#include "ov_app_gpon_rmunistatus.h"

#include "app_get_callback.h"
#include "app_set_callback.h"
#include "app_write_row.h"
#include "ov_app_gpon_pair.h"
#include "ov_app_gpon_rm_uni.h"
#include "sRmUniPmTable.h"

int gpon_unistatus_appid = 0;

namespace {

using Row = ov_sRmUniStatusTable_attr_t;
using Record = ov_gpon_rmuni_attr_t;
using Change = RowChange<Row>;
namespace column = sRmUniStatusTable_column;

constexpr MapLine UNISTATUS_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_INTO(uniPos, (fill_uni_place<Row, Record>)),
    MAP(sRmUniStatusTableAdminState, adminStatus, OV_GPON_RMUNI_ATTR_INDEX_adminStatus),
    MAP(sRmUniStatusTablePmEnable, pmEnabled, OV_GPON_RMUNI_ATTR_INDEX_pmEnabled),
    MAP(sRmUniStatusTableMcastEnable, mcastEnabled, OV_GPON_RMUNI_ATTR_INDEX_mcastEnabled),
    MAP(sRmUniStatusLoopDetectEnable, loopDetect, OV_GPON_RMUNI_ATTR_INDEX_loopDetect),
    MAP(sRmUniStatusMacLearnCount, macLrnCount, OV_GPON_RMUNI_ATTR_INDEX_macLrnCount),
    // What the ONU has reported, and nothing that a card is to be told again.
    MAP(sRmUniStatusLinkStatus, linkstauts, OV_GPON_RMUNI_ATTR_INDEX_LinkStatus).create_only(),
    MAP(sRmUniStatusVideoAdminEnable, videoState, OV_GPON_RMUNI_ATTR_INDEX_videoState),
    MAP(sRmUniStatusAutoDetectionConfiguration, autoDetection, OV_GPON_RMUNI_ATTR_INDEX_autoDetection),
    MAP(sRmUniStatusMaxFrameSize, maxFrameSize, OV_GPON_RMUNI_ATTR_INDEX_maxFrameSize),
    MAP(sRmUniStatusTablePppoeFilterEnable, pppoeFilterEnabled, OV_GPON_RMUNI_ATTR_INDEX_pppoeFiltetEnabled),
    MAP(sRmUniStatusTableBridgedOrIpInd, bridgedOrIpInd, OV_GPON_RMUNI_ATTR_INDEX_bridgedOrIpInd),
    MAP(sRmUniStatusTablePowerControlEnable, powerControl, OV_GPON_RMUNI_ATTR_INDEX_powerControl),
    MAP(sRmUniStatusTableUpStreamPmEnable, usPmEnabled, OV_GPON_RMUNI_ATTR_INDEX_usPmEnabled),
    MAP(sRmUniStatusTableDownStreamPmEnable, dsPmEnabled, OV_GPON_RMUNI_ATTR_INDEX_dsPmEnabled),
    MAP(sRmUniStatusTableDot1xEnable, dot1xEnabled, OV_GPON_RMUNI_ATTR_INDEX_dot1xEnabled),
    MAP(sRmUniStatusTableDot1xActionRegister, dot1xActRegister, OV_GPON_RMUNI_ATTR_INDEX_dot1xActRegister),
};

// What a write concerns: all that can be written.
constexpr MIB_Flags_t WRITTEN = [] {
    MIB_Flags_t columns = {};
    for (unsigned each = column::sRmUniStatusTableAdminState;
         each <= column::sRmUniStatusTableDot1xActionRegister; ++each)
        mib_flag_set(columns, each);
    mib_flag_clear(columns, column::sRmUniStatusTableRowStatus);
    mib_flag_clear(columns, column::sRmUniStatusLinkStatus);
    return columns;
}();

// The switches that the ONU acts on when it hears of them, changed or not.
#define SHADOWED(name)                                                                                       \
    { column::name, &Row::name, &Row::old_##name }
constexpr ShadowedColumn<Row> SENT_WHEN_CHANGED[] = {
    SHADOWED(sRmUniStatusTablePmEnable),           SHADOWED(sRmUniStatusTableUpStreamPmEnable),
    SHADOWED(sRmUniStatusTableDownStreamPmEnable), SHADOWED(sRmUniStatusTableMcastEnable),
    SHADOWED(sRmUniStatusLoopDetectEnable),
};

// Also when the counters are on already. The row that may come isn't among the counted ones.
bool pm_channel_is_left(Change& change) {
    const Row& row = change.row;
    if (!change.sets() || is_template_row(row) || !change.has(column::sRmUniStatusTablePmEnable) ||
        row.sRmUniStatusTablePmEnable != 1 ||
        MibNumberGet(did_of<ov_sRmUniPmTable_attr_t>()) <= OV_GPON_RMUNI_PM_MAX)
        return true;
    ov_refusal_because_of(column::sRmUniStatusTablePmEnable,
                          "the counters of %d UNIs are on, and no more can be",
                          MibNumberGet(did_of<ov_sRmUniPmTable_attr_t>()));
    OV_LOG_ERROR("MMG", "the max pm channel which supported is: %d", OV_GPON_RMUNI_PM_MAX);
    return false;
}

int follow(Change& change) {
    if (ov_app_gpon_port_is_group_work_pon_port(change.row.slotID, change.row.portID) != 0)
        return ov_app_gpon_follow_on_pair(SYNC_RMONU_UNISTATUS, change);
    OV_LOG_ERROR("MMG", "unistatus call back ok..."); // at an error's level: the field looks for it
    return SET_ACCEPTED;
}

// ---- the rows' life ---------------------------------------------------------------------------------------

// One text for three kinds and for a type that isn't there. Video UNIs form a square: their number counts the
// cards too.
using OnuType = ov_sOnuTypeProfileTable_attr_t;
constexpr char CANT_ADD[] = "can't add ONUPORTTYPE_ETH_UNI";
constexpr UniKind KINDS[] = {
    {OV_GPON_RMUNI_TYPE_ETH, &OnuType::sOnuTypeProfileTableEthNum, &OnuType::sOnuTypeProfileTableCardNum,
     CANT_ADD},
    {OV_GPON_RMUNI_TYPE_POTS, &OnuType::sOnuTypeProfileTablePotsNum, &OnuType::sOnuTypeProfileTableCardNum,
     CANT_ADD},
    {OV_GPON_RMUNI_TYPE_VEIP, nullptr, nullptr, CANT_ADD},
    {OV_GPON_RMUNI_TYPE_VIDEO, &OnuType::sOnuTypeProfileTableVideoNum, &OnuType::sOnuTypeProfileTableVideoNum,
     "can't add ONUPORTTYPE_VIDEO_UNI"},
};
constexpr UniRows<Row> ROWS = {
    .kinds = KINDS,
    .appid = &gpon_unistatus_appid,
    .no_type = CANT_ADD,
    .left = "iterate delete unistatus fail",
};

} // namespace

constinit const MessageMap<ov_sRmUniStatusTable_attr_t, ov_gpon_rmuni_attr_t>
    unistatus_map(UNISTATUS_LINES, {.last = column::sRmUniStatusTableDot1xActionRegister,
                                    .last_read = column::sRmUniStatusVideoAdminEnable,
                                    .no_attribute = OV_GPON_RMUNI_ATTR_INDEX_MAX});
RESTORE(rm_uni_status, SRMUNISTATUS, OV_HAL_MSG_GPON_RM_UNI, unistatus_map, CREATED_AND_SET)

int ov_app_gpon_rmunistatus_edit(ov_sRmUniStatusTable_attr_t* attr, MIB_Flags_t* flag) {
    return write_row(MIB_SET, attr, flag, gpon_unistatus_appid, "mib set error for rm_uni_status table");
}

void sunistatus_mib_data_convert_to_hal(ov_sRmUniStatusTable_attr_t* mib, ov_gpon_rmuni_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag) {
    unistatus_map.convert(*mib, *hal, mib_mask, *hal_flag);
}

ov_bmp_t ov_rmuni_table_attr_mask_get(const void* row) {
    return unistatus_map.replay_mask(row);
}

int ov_unistatus_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_UNI,
        .map = &unistatus_map,
        .sent = SentChanges::EDITS_OF_ONUS,
        .check = pm_channel_is_left,
        .narrow = [](const Change& change) { return columns_that_change<Row>(change, SENT_WHEN_CHANGED); },
        .dumps = true,
        .follow = follow,
        .failure = "set rm unistatus to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_unistatus_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return ov_app_gpon_refuse_on_protecting_port(*static_cast<const Row*>(row),
                                                 "ov_unistatus_table_set_check_callback failed");
}

int ov_unistatus_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    static constexpr GetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_UNI,
        .map = &unistatus_map,
        .columns = columns_of(column::sRmUniStatusLinkStatus),
        .asked = ov_app_gpon_asked_of_onu,
        .not_supported = NotSupported::REFUSE,
        .failure = "get rm unistatus from low level error",
    };
    return run_get_callback(CALLBACK, row, column_flag);
}

int ov_unistatus_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return unis_follow_onu(ROWS, did, row);
}

int ov_unistatus_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return unis_follow_profile(ROWS, did, row);
}

void ov_app_gpon_rmunistatus_init() {
    gpon_unistatus_appid = AssignAppId();
    const CallbackRegistration app = {"app_unistatus", gpon_unistatus_appid,
                                      "app_unistatus register set call back error"};
    app.add(SRMUNISTATUS, CALLBACK_SET, ov_unistatus_table_set_callback, WRITTEN);
    app.add(SRMUNISTATUS, CALLBACK_CHECK, ov_unistatus_table_set_check_callback, WRITTEN);
    app.add(SRMUNISTATUS, CALLBACK_GET, ov_unistatus_table_get_callback,
            columns_of(column::sRmUniStatusLinkStatus));
    app.add(SONU, CALLBACK_SET, ov_unistatus_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET, ov_unistatus_onu_srvprofile_set_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
