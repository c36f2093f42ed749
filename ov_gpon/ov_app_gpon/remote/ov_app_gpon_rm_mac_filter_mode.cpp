// rmServiceMacFilterModeTable, and how filters follow their service.
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_owner.h"
#include "ov_app_gpon_rmservice.h"

int gpon_rm_mac_filter_mode_appid = 0;

namespace {

using Row = ov_rmServiceMacFilterModeTable_attr_t;
using Record = ov_gpon_rm_macfilter_attr_t;
using Service = ov_sRmServiceTable_attr_t;
namespace column = rmServiceMacFilterModeTable_column;

constexpr MapLine MODE_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(flowId, flow_of<Row>),
    MAP(rmSmfmMode, mode, OV_GPON_RM_MACFILTER_ATTR_INDEX_mode),
};

constexpr FollowRows<Service, Row> FOLLOWS_SERVICE = {
    .key = service_key<Row, Service>,
    .add = MIB_CREATEGO_N,
    .remove = MIB_DEL_N,
    .appid = &gpon_rm_mac_filter_mode_appid,
    .add_error = "can't create macfilter mode data",
    .remove_error = "can't delete macfilter mode data",
};

constexpr RmOwnerRules OWNER = {};
constexpr RmDoors<Row> DOORS = {.table = "rm_mac_filter_mode", .appid = &gpon_rm_mac_filter_mode_appid};

// The limit has followed the new mode already, which the card didn't take.
void put_limit_back(RowChange<Row>& change) {
    Row before = change.row;
    before.rmSmfmMode = change.row.old_rmSmfmMode;
    if (change.sets() && change.has(column::rmSmfmMode))
        ov_app_gpon_rm_mac_filter_dyn_put_back(before);
}

template <typename Filter>
void remove_left(const ov_sOnuTable_attr_t& onu) {
    static constexpr OwnedRows<Filter> OWNED = {.remove = MIB_DEL_S_N,
                                                .appid = &gpon_rm_mac_filter_mode_appid};
    remove_owned_rows(OWNED, onu);
}

} // namespace

constinit const MessageMap<ov_rmServiceMacFilterModeTable_attr_t, ov_gpon_rm_macfilter_attr_t>
    mac_filter_mode_map(MODE_LINES, {.last = column::rmSmfmRowStatus,
                                     .no_attribute = OV_GPON_RM_MACFILTER_ATTR_INDEX_MAX});
RESTORE(rm_macfilter_mode, SRMMACFMODE, OV_HAL_MSG_GPON_RM_MAC_FLT, mac_filter_mode_map, CREATED_AND_SET)

int ov_app_gpon_rm_mac_filter_mode_edit(ov_rmServiceMacFilterModeTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

bool ov_app_gpon_rm_mac_filter_mode_add(const ov_sRmServiceTable_attr_t& service) {
    return follow_all(FOLLOWS_SERVICE, service, true);
}

void ov_app_gpon_rm_mac_filter_put_back(const ov_sRmServiceTable_attr_t& service) {
    Row row = service_key<Row>(service);
    if (mib_access(MIB_CREATEGO_S_N, row, mibDefFlags, gpon_rm_mac_filter_mode_appid))
        ov_app_gpon_rm_mac_filter_dyn_put_back(row);
}

void ov_app_gpon_rm_mac_filter_iterate_del(const ov_sOnuTable_attr_t& onu) {
    remove_left<ov_rmServiceMacFilterStaticTable_attr_t>(onu);
    remove_left<ov_rmServiceMacFilterDynamicTable_attr_t>(onu);
    remove_left<Row>(onu);
}

ov_bmp_t ov_rmservice_macfilter_mode_table_attr_mask_get(const void* row) {
    return mac_filter_mode_map.replay_mask(row);
}

// The card has the mode "dynamic" for a service that comes, and drops it with the service.
int ov_mac_filter_mode_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_MAC_FLT,
        .map = &mac_filter_mode_map,
        .sent = SentChanges::EDITS_OF_ONUS,
        .check = rm_owner_admits<OWNER>,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_MACFILTER_MODE>,
        .not_supported = NotSupported::FOLLOW,
        .give_back = put_limit_back,
        .failure = "set rm macfilter mode to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_mac_filter_mode_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

// A service that has to stay keeps its filters.
int ov_mac_filter_mode_table_rmservice_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    auto& service = *static_cast<Service*>(row);
    if (MibRowStatusGet(did, row) != MODE_DEL)
        return SET_ACCEPTED;
    const bool goes =
        ov_app_gpon_rm_servcie_check(&service, OV_HAL_GPON_MSG_ACTION_DELETE, column_flag) == 1 &&
        follow_all(FOLLOWS_SERVICE, service, false);
    return goes ? SET_ACCEPTED : SET_REFUSED;
}

void ov_app_gpon_rm_mac_filter_mode_init() {
    gpon_rm_mac_filter_mode_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_macfilter_mode", gpon_rm_mac_filter_mode_appid,
                                      "app_rm_macfilter_mode register set call back error"};
    app.add(SRMMACFMODE, CALLBACK_SET, ov_mac_filter_mode_table_set_callback, mibDefFlags);
    app.add(SRMMACFMODE, CALLBACK_CHECK, ov_mac_filter_mode_table_set_check_callback, mibDefFlags);
    app.add(SRMSERVICE, CALLBACK_SET, ov_mac_filter_mode_table_rmservice_set_callback,
            columns_of(sRmServiceTable_column::sRmServiceTableRowStatus));
}
