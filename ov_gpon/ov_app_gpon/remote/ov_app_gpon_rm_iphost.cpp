#include "ov_app_gpon_rm_iphost.h"

#include "app_get_callback.h"
#include "ov_app_gpon_rm_owner.h"

int gpon_rm_iphost_appid = 0;

namespace {

using Row = ov_sRmIPHostTable_attr_t;
using Record = ov_gpon_onu_iphost_attr_t;
using Change = RowChange<Row>;
namespace column = sRmIPHostTable_column;

// Without attributes: the whole record counts.
constexpr MapLine IPHOST_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),
    UNMASKED(sRmIPHostMode, mode),
    UNMASKED_IPV4(sRmIPHostIpAddress, ipaddr),
    UNMASKED_IPV4(sRmIPHostNetMask, netmask),
    UNMASKED_IPV4(sRmIPHostGateway, gateway),
    UNMASKED_IPV4(sRmIPHostPrimaryDns, priDns),
    UNMASKED_IPV4(sRmIPHostSecondaryDns, secDns),
    UNMASKED(sRmIPHostVlanId, vlanid),
    UNMASKED(sRmIPHostPriority, pri),
    UNMASKED(sRmIPHostIdentifier, identifier),
};

constexpr MapLine CURRENT_LINES[] = {
    WIRE_ONLY(onuIfindex, onu_ifindex_of<Row>),    READ_IPV4(sRmIPHostCurrentIpAddress, ipaddr),
    READ_IPV4(sRmIPHostCurrentNetMask, netmask),   READ_IPV4(sRmIPHostCurrentGateway, gateway),
    READ_IPV4(sRmIPHostCurrentPrimaryDns, priDns), READ_IPV4(sRmIPHostCurrentSecondaryDns, secDns),
};

constexpr GetCallback<Row, Record> READS_CURRENT = {
    .message = OV_HAL_MSG_GPON_RMONU_IPHOST,
    .map = &rm_iphost_current_map,
    .columns = columns_of(column::sRmIPHostCurrentIpAddress, column::sRmIPHostCurrentNetMask,
                          column::sRmIPHostCurrentGateway, column::sRmIPHostCurrentPrimaryDns,
                          column::sRmIPHostCurrentSecondaryDns),
    .asked = ov_app_gpon_asked_of_onu,
    .taken = Taken::WHOLE,
    .failure = "get rm iphost from low level error",
};

// ---- rows -------------------------------------------------------------------------------------------------

constexpr RmOwnerRules OWNER = {};

bool iphost_admits(Change& change) {
    return ov_app_gpon_rm_owner_admits(change.row, change.action, OWNER) &&
           (!change.creates() || is_template_row(change.row) ||
            ov_rm_iphost_count_iterate_parser_check(&change.row) == 1);
}

constexpr OwnedRows<Row> OWNED = {.appid = &gpon_rm_iphost_appid, .stops = true};
constexpr char LEFT[] = "iterate delete iphost fail";
constexpr RmDoors<Row> DOORS = {.table = "rm_iphost",
                                .appid = &gpon_rm_iphost_appid,
                                .status_column = column::sRmIPHostRowStatus,
                                .status = &Row::sRmIPHostRowStatus};

} // namespace

constinit const MessageMap<ov_sRmIPHostTable_attr_t, ov_gpon_onu_iphost_attr_t> rm_iphost_map(IPHOST_LINES);
constinit const MessageMap<ov_sRmIPHostTable_attr_t, ov_gpon_onu_iphost_attr_t>
    rm_iphost_current_map(CURRENT_LINES);
RESTORE(rm_iphost, SRMIPHOST, OV_HAL_MSG_GPON_RMONU_IPHOST, rm_iphost_map, CREATED)
RESTORE_TEMPLATES(iphost, SRMIPHOST, OV_HAL_MSG_GPON_RMONU_IPHOST, rm_iphost_map, CREATED)

int ov_app_gpon_rm_iphost_add(ov_sRmIPHostTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.add(attr, flag);
}

int ov_app_gpon_rm_iphost_edit(ov_sRmIPHostTable_attr_t* attr, MIB_Flags_t* flag) {
    return DOORS.edit(attr, flag);
}

int ov_app_gpon_rm_iphost_del(ov_sRmIPHostTable_attr_t* attr) {
    return DOORS.del(attr);
}

int ov_app_gpon_iphost_hal_get(ov_sRmIPHostTable_attr_t* row) {
    if (row == nullptr) {
        OV_LOG_ERROR("MMG", "null pointer");
        return OV_GPON_RET_BAD_PARAM;
    }
    Record record = {};
    const int result = ask_card(READS_CURRENT, *row, {}, record);
    if (result == OV_GPON_RET_OK)
        rm_iphost_current_map.decode(&record, row, mibDefFlags);
    return result;
}

int ov_rm_iphost_count(const ov_sOnuTable_attr_t& onu) {
    int count = 0;
    for ([[maybe_unused]] const Row& host : rows_under(onu_key<Row>(onu), INDEX_TO_ONU))
        ++count;
    return count;
}

// The table's index is the ONU's, so that there is never a second one.
char ov_rm_iphost_count_iterate_parser_check(const ov_sRmIPHostTable_attr_t* attr) {
    if (ov_rm_iphost_count(onu_key<ov_sOnuTable_attr_t>(*attr)) <= 1)
        return 1;
    ov_refusal_because("the ONU has an IP host already");
    OV_LOG_ERROR("MMG", "iphost existed");
    return 0;
}

int ov_rm_iphost_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    static constexpr SetCallback<Row, Record> CALLBACK = {
        .message = OV_HAL_MSG_GPON_RMONU_IPHOST,
        .map = &rm_iphost_map,
        .check = iphost_admits,
        .dumps = true,
        .follow = rm_follow_on_pair<SYNC_RMONU_IPHOST, Row>,
        .not_supported = NotSupported::FOLLOW,
        .failure = "set rm iphost to hal error",
    };
    return run_set_callback(CALLBACK, did, row, column_flag);
}

int ov_rm_iphost_table_set_check_callback(MIBDID /*did*/, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_refuse_on_protecting_port<Row>(row, __func__);
}

int ov_rm_iphost_table_get_callback(MIBDID /*did*/, void* row, MIB_Flags_t column_flag) {
    return run_get_callback(READS_CURRENT, row, column_flag);
}

int ov_rm_iphost_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_rows_go_with_onu(OWNED, LEFT, did, row);
}

int ov_rm_iphost_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    return rm_rows_go_with_profile(OWNED, LEFT, did, row);
}

void ov_app_gpon_rm_iphost_init() {
    gpon_rm_iphost_appid = AssignAppId();
    const CallbackRegistration app = {"app_rm_iphost", gpon_rm_iphost_appid,
                                      "app_rm_iphost register set call back error"};
    app.add(SRMIPHOST, CALLBACK_SET, ov_rm_iphost_table_set_callback, mibDefFlags);
    app.add(SRMIPHOST, CALLBACK_CHECK, ov_rm_iphost_table_set_check_callback, mibDefFlags);
    app.add(SRMIPHOST, CALLBACK_GET, ov_rm_iphost_table_get_callback, READS_CURRENT.columns);
    app.add(SONU, CALLBACK_SET, ov_rm_iphost_onutable_set_callback,
            columns_of(sOnuTable_column::sOnuTableRowStatus));
    app.add(SONUSRVPROFILE, CALLBACK_SET, ov_rm_iphost_multi_srvprofile_del_callback,
            columns_of(sOnuSrvProfileTable_column::sOnuSrvProfileRowStatus));
}
