// rmServiceMacFilterDynamicTable.
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_owner.h"

int gpon_rm_mac_filter_dyn_appid = 0;

namespace {

using Row = ov_rmServiceMacFilterDynamicTable_attr_t;
using Record = ov_gpon_rm_macfilter_attr_t;
using Mode = ov_rmServiceMacFilterModeTable_attr_t;
namespace column = rmServiceMacFilterDynamicTable_column;

constexpr MapLine DYN_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(flowId, flow_of<Row>),
    MAP(rmSmfdMacLimit, dyn_count, OV_GPON_RM_MACFILTER_ATTR_INDEX_dynCount),
};

constexpr FollowSwitch<Mode> IS_DYNAMIC = {
    .column = rmServiceMacFilterModeTable_column::rmSmfmMode,
    .value = &Mode::rmSmfmMode,
    .before = &Mode::old_rmSmfmMode,
    .on = RMSMFMMODE_DYNAMIC,
};
constexpr FollowRows<Mode, Row> FOLLOWS_MODE = {
    .key = service_key<Row, Mode>,
    .by_switch = &IS_DYNAMIC,
    .appid = &gpon_rm_mac_filter_dyn_appid,
    .add_failed = "can't create macfilter dynamic data",
    .remove_failed = "can't delete macfilter dynamic data",
};

bool has_dynamic_mode(const Row& row) {
    const Mode* mode = find_row(service_key<Mode>(row));
    return mode != nullptr && mode->rmSmfmMode == RMSMFMMODE_DYNAMIC;
}

constexpr RmOwnerRules OWNER = {};
constexpr RmDoors<Row> DOORS = {.table = "rm_mac_filter_dyn", .appid = &gpon_rm_mac_filter_dyn_appid};

} // namespace

constinit const MessageMap<ov_rmServiceMacFilterDynamicTable_attr_t, ov_gpon_rm_macfilter_attr_t>
    mac_filter_dyn_map(DYN_LINES, {.last = column::rmSmfdRowStatus,
                                   .no_attribute = OV_GPON_RM_MACFILTER_ATTR_INDEX_MAX});
RESTORE(rm_macfilter_dynamic, SRMMACFD, OV_HAL_MSG_GPON_RM_MAC_FLT, mac_filter_dyn_map, CREATED_AND_SET)

int ov_app_gpon_rm_mac_filter_dyn_edit(ov_rmServiceMacFilterDynamicTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

void ov_app_gpon_rm_mac_filter_dyn_put_back(const ov_rmServiceMacFilterModeTable_attr_t& mode) {
    static constexpr FollowRows<Mode, Row> SILENT = {
        .key = service_key<Row, Mode>,
        .add = MIB_CREATEGO_S_N,
        .remove = MIB_DEL_S_N,
        .appid = &gpon_rm_mac_filter_dyn_appid,
    };
    follow_all(SILENT, mode, mode.rmSmfmMode == RMSMFMMODE_DYNAMIC);
}

ov_bmp_t ov_rmservice_macfilter_dynamic_table_attr_mask_get(const void* row) {
    return mac_filter_dyn_map.replay_mask(row);
}

int ov_mac_filter_dyn_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_MAC_FLT,
        .map = &mac_filter_dyn_map,
        .sent = SentChanges::OF_ONUS,
        .check = rm_owner_admits<OWNER>,
        .dumps = true,
        .failure = "set rm macfilter dynamic to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

// Rows come and go with the mode, on a protecting port too. A manager may put back one that is missing, and
// take away one that has no mode.
int ov_mac_filter_dyn_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    const Row& limit = *static_cast<const Row*>(row);
    const int mode = MibRowStatusGet(did, row);
    if (mode != MODE_CHG && getOpOwner(did) == 0)
        return SET_ACCEPTED;
    if (mode != MODE_CHG && has_dynamic_mode(limit) == (mode == MODE_DEL)) {
        ov_refusal_because("the row is there while remote service %u filters dynamically",
                           static_cast<unsigned>(limit.rmServiceID));
        return SET_REFUSED;
    }
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_mac_filter_dyn_table_mode_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return follow_rows(FOLLOWS_MODE, did, row, column_flag);
}

void ov_app_gpon_rm_mac_filter_dyn_init() {
    gpon_rm_mac_filter_dyn_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_macfilter_dyn", gpon_rm_mac_filter_dyn_appid,
                                      "app_rm_macfilter_dyn register set call back error"};
    app.add(SRMMACFD, CALLBACK_SET, ov_mac_filter_dyn_table_set_callback, mibDefFlags);
    app.add(SRMMACFD, CALLBACK_CHECK, ov_mac_filter_dyn_table_set_check_callback, mibDefFlags);
    app.add(SRMMACFMODE, CALLBACK_SET, ov_mac_filter_dyn_table_mode_set_callback, mibDefFlags);
}
