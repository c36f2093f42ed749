#include "ov_app_gpon_rmwan.h"

#include "ov_app_gpon_rm_numbered.h"

int gpon_rmwan_appid = 0;

namespace {

using Row = ov_sRmWanTable_attr_t;
using Record = ov_gpon_rmwan_attr_t;
using Change = RowChange<Row>;
namespace column = sRmWanTable_column;

mib_ulong number_of(const Row& row) {
    return row.sRmWanIndex;
}

// Without attributes: the whole record counts.
constexpr MapLine RMWAN_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    WIRE_ONLY(wanIndex, number_of),
    UNMASKED(sRmWanMode, wanMode),
    UNMASKED(sRmWanType, wanType),
    UNMASKED(sRmWanVlan, wanVlan),
    UNMASKED(sRmWanVlanMode, wanVlanMode),
    UNMASKED(sRmWanVlanCos, wanVlanCos),
    UNMASKED(sRmWanDSP, wanDSP),
    UNMASKED(sRmWanBindLan, lan),
    UNMASKED(sRmWanBindSsid, ssid),
    UNMASKED(sRmWanBindSsid5G, ssid5G),
    UNMASKED(sRmWanPppUser, pppUser),
    UNMASKED(sRmWanPppPwd, pppPwd),
    UNMASKED(sRmWanPppSrvName, pppSrvName),
    UNMASKED(sRmWanBridgeMode, bridgeMode),
    UNMASKED_IPV4(sRmWanIpAddr, ipAddr),
    UNMASKED_IPV4(sRmWanNetMask, netMask),
    UNMASKED_IPV4(sRmWanGateway, gateway),
    UNMASKED_IPV4(sRmWanPrimaryDns, dns),
    UNMASKED_IPV4(sRmWanSecondaryDns, dns_2),
    UNMASKED(sRmWanEnable, enable),
};

// ---- connections that exclude each other ------------------------------------------------------------------

struct Binding {
    unsigned column;
    mib_long Row::*bound;
    const char* what;
};
constexpr Binding BINDINGS[] = {
    {column::sRmWanBindLan, &Row::sRmWanBindLan, "LAN ports"},
    {column::sRmWanBindSsid, &Row::sRmWanBindSsid, "networks"},
    {column::sRmWanBindSsid5G, &Row::sRmWanBindSsid5G, "5G networks"},
};
constexpr mib_long BOUND = 0xf; // a bit for each

bool is_alike(const Row& row, const Row& other) {
    return row.sRmWanMode == other.sRmWanMode && row.sRmWanType == other.sRmWanType &&
           row.sRmWanVlan == other.sRmWanVlan;
}

// Two connections of an ONU, behind a statement when they exclude each other.
bool fit_together(const Row& row, const Row& other) {
    const auto number = static_cast<unsigned>(other.sRmWanIndex);
    if (is_alike(row, other))
        return ov_refusal_because_of(column::sRmWanVlan, "WAN %u has the same mode, type and VLAN", number);
    for (const Binding& each : BINDINGS)
        if ((row.*each.bound & other.*each.bound & BOUND) != 0)
            return ov_refusal_because_of(each.column, "WAN %u is bound to some of the same %s", number,
                                         each.what);
    return true;
}

bool wan_admits(Change& change) {
    return passes<ov_app_gpon_rm_wan_check>(change) &&
           (change.deletes() || ov_rmwan_parameter_check(&change.row) == 1);
}

// ---- rows -------------------------------------------------------------------------------------------------

constexpr RmNumbered<Row> NUMBERED = {
    .word = "wan",
    .number = &Row::sRmWanIndex,
    .doors = {.table = "rm_wan",
              .appid = &gpon_rmwan_appid,
              .status_column = column::sRmWanRowStatus,
              .status = &Row::sRmWanRowStatus},
};
constexpr OwnedRows<Row> OWNED = {.appid = &gpon_rmwan_appid, .stops = true};

} // namespace

constinit const MessageMap<ov_sRmWanTable_attr_t, ov_gpon_rmwan_attr_t> rmwan_map(RMWAN_LINES);
RESTORE(rm_wan, SRMWAN, OV_HAL_MSG_GPON_RM_WAN, rmwan_map, CREATED)
RESTORE_TEMPLATES(wan, SRMWAN, OV_HAL_MSG_GPON_RM_WAN, rmwan_map, CREATED)

int ov_app_gpon_rm_wan_add(ov_sRmWanTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check) {
    return NUMBERED.add(attr, flag, is_need_check);
}

int ov_app_gpon_rm_wan_edit(ov_sRmWanTable_attr_t* attr, MIB_Flags_t* flag) {
    return NUMBERED.doors.edit(attr, flag);
}

int ov_app_gpon_rm_wan_del(ov_sRmWanTable_attr_t* attr) {
    return NUMBERED.doors.del(attr);
}

char ov_app_gpon_rm_wan_check(const ov_sRmWanTable_attr_t* attr, int action, MIB_Flags_t /*flags*/) {
    return NUMBERED.admits(*attr, action) ? 1 : 0;
}

char ov_rmwan_parameter_check(const ov_sRmWanTable_attr_t* attr) {
    for (const Row& other : rows_under(*attr, INDEX_TO_ONU)) {
        if (other.sRmWanIndex == attr->sRmWanIndex || fit_together(*attr, other))
            continue;
        OV_LOG_ERROR("MMG", "set rm wan param check failed");
        return 0;
    }
    return 1;
}

int ov_rmwan_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RM_WAN,
        .map = &rmwan_map,
        .check = wan_admits,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_WAN, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm wan to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rmwan_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_rmwan_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_rows_go_with_onu(OWNED, "iterate delete rmwan fail", did, row);
}

void ov_app_gpon_rmwan_init() {
    gpon_rmwan_appid = AssignAppId();
    const CallbackRegistration app = {"app_rmwan", gpon_rmwan_appid,
                                      "app_rmwan register set call back error"};
    app.add(SRMWAN, CALLBACK_SET, ov_rmwan_table_set_callback, mibDefFlags);
    app.add(SRMWAN, CALLBACK_CHECK, ov_rmwan_table_set_check_callback, mibDefFlags);
    app.add(SONU, CALLBACK_SET, ov_rmwan_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
}
