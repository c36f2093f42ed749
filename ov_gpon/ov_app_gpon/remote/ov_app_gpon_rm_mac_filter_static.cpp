// rmServiceMacFilterStaticTable.
#include <cstring>

#include "app_index.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_owner.h"

int gpon_rm_mac_filter_static_appid = 0;

namespace {

using Row = ov_rmServiceMacFilterStaticTable_attr_t;
using Record = ov_gpon_rm_macfilter_attr_t;
using Mode = ov_rmServiceMacFilterModeTable_attr_t;
using Change = RowChange<Row>;
namespace column = rmServiceMacFilterStaticTable_column;

mib_ulong rule_of(const Row& row) {
    return row.rmSmfsId;
}

constexpr MapLine STATIC_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(flowId, flow_of<Row>),
    WIRE_ONLY(entryId, rule_of),
    MAP(rmSmfsFwdFilter, fwdFilter, OV_GPON_RM_MACFILTER_ATTR_INDEX_fwdfilter),
    MAP(rmSmfsRule, rule, OV_GPON_RM_MACFILTER_ATTR_INDEX_rule),
    MAP(rmSmfsMac, macAddress, OV_GPON_RM_MACFILTER_ATTR_INDEX_mac),
};

// ---- the steps of the set callback ------------------------------------------------------------------------

// A greater number would name another rule, or service, to the card.
bool fits_record(const Row& row) {
    return (fits(row.rmSmfsId, MAC_FILTER_RULE_MAX) && fits(row.rmServiceID, UINT16_MAX)) ||
           ov_refusal_because("rule %u of remote service %u can't be", static_cast<unsigned>(row.rmSmfsId),
                              static_cast<unsigned>(row.rmServiceID));
}

constexpr RmOwnerRules OWNER = {};

bool may_become(Change& change) {
    if (!rm_owner_admits<OWNER>(change))
        return false;
    if (change.creates() && !fits_record(change.row))
        return false;
    const bool has_new_address = change.creates() || (change.sets() && change.has(column::rmSmfsMac));
    return !has_new_address || ov_rm_macfilter_create_iterate_parser_check(&change.row) == 0;
}

// ---- with the mode ----------------------------------------------------------------------------------------

bool leaves_static(const Mode& mode, int row_mode, const MIB_Flags_t& columns) {
    if (row_mode == MODE_DEL)
        return true;
    return row_mode == MODE_CHG && mib_flag_is_set(columns, rmServiceMacFilterModeTable_column::rmSmfmMode) &&
           mode.rmSmfmMode != mode.old_rmSmfmMode && mode.rmSmfmMode != RMSMFMMODE_STATIC;
}

bool remove_rules(const Mode& mode) {
    for (Row& rule : rows_copied(service_key<Row>(mode), INDEX_TO_SERVICE)) {
        if (mib_access(MIB_DEL_N, rule, mibDefFlags, gpon_rm_mac_filter_static_appid))
            continue;
        OV_LOG_ERROR("MMG", "can't delete macfilter static data");
        return false;
    }
    return true;
}

constexpr RmDoors<Row> DOORS = {.table = "rm_mac_filter_static",
                                .appid = &gpon_rm_mac_filter_static_appid,
                                .status_column = column::rmSmfsRowStatus,
                                .status = &Row::rmSmfsRowStatus};

} // namespace

constinit const MessageMap<ov_rmServiceMacFilterStaticTable_attr_t, ov_gpon_rm_macfilter_attr_t>
    mac_filter_static_map(STATIC_LINES, {.last = column::rmSmfsRowStatus,
                                         .no_attribute = OV_GPON_RM_MACFILTER_ATTR_INDEX_MAX});
RESTORE(rm_macfilter_static, SRMMACFS, OV_HAL_MSG_GPON_RM_MAC_FLT, mac_filter_static_map, CREATED)

int ov_app_gpon_rm_mac_filter_static_add(ov_rmServiceMacFilterStaticTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.add(attr, flag);
}

int ov_app_gpon_rm_mac_filter_static_edit(ov_rmServiceMacFilterStaticTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

int ov_app_gpon_rm_mac_filter_static_del(ov_rmServiceMacFilterStaticTable_attr_t* attr) {
    return DOORS.del(attr);
}

int ov_rm_macfilter_create_iterate_parser_check(const ov_rmServiceMacFilterStaticTable_attr_t* row) {
    for (const Row& other : rows_under(*row, INDEX_TO_SERVICE)) {
        if (other.rmSmfsId == row->rmSmfsId ||
            std::memcmp(other.rmSmfsMac, row->rmSmfsMac, sizeof row->rmSmfsMac) != 0)
            continue;
        ov_refusal_because_of(column::rmSmfsMac, "rule %u of the service has this address",
                              static_cast<unsigned>(other.rmSmfsId));
        OV_LOG_ERROR("MMG", "set rm macfilter static param check failed");
        return 1;
    }
    return 0;
}

int ov_mac_filter_static_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_MAC_FLT,
        .map = &mac_filter_static_map,
        .sent = SentChanges::OF_ONUS,
        .check = may_become,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_MACFILTER_STATIC>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm macfilter static to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_mac_filter_static_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

// First in the mode's chain: a mode that may not change must keep its rules and limit, so this asks for all.
int ov_mac_filter_static_table_mode_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    const Mode& mode = *static_cast<const Mode*>(row);
    const int row_mode = MibRowStatusGet(did, row);
    const auto action = hal_action_of(row_mode);
    if (!action)
        return SET_ACCEPTED;
    if (!ov_app_gpon_rm_owner_admits(mode, *action, OWNER))
        return SET_REFUSED;
    return !leaves_static(mode, row_mode, column_flag) || remove_rules(mode) ? SET_ACCEPTED : SET_REFUSED;
}

void ov_app_gpon_rm_mac_filter_static_init() {
    gpon_rm_mac_filter_static_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_macfilter_static", gpon_rm_mac_filter_static_appid,
                                      "app_rm_macfilter_static register set call back error"};
    app.add(SRMMACFS, CALLBACK_SET, ov_mac_filter_static_table_set_callback, mibDefFlags);
    app.add(SRMMACFS, CALLBACK_CHECK, ov_mac_filter_static_table_set_check_callback, mibDefFlags);
    app.add(SRMMACFMODE, CALLBACK_SET, ov_mac_filter_static_table_mode_set_callback, mibDefFlags);
}
