#include "ov_app_gpon_qinq_mmg.h"

#include <algorithm>
#include <limits>

#include "app_columns.h"
#include "app_rows.h"
#include "app_set_callback.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "sOnuTable.h"
#include "smartQinqTable.h"

namespace {

using Rule = ov_gpon_qinq_attr_t;
using Row = ov_smartQinqTable_attr_t;
namespace column = smartQinqTable_column;

int qinq_appid = 0;

// A write by row: the row is the table's own, the other two places are the application's.
constexpr auto FOR_A_ROW = static_cast<ov_app_qinq_sync_flag_t>(QINQ_SYNC_HAL | QINQ_SYNC_APP);
constexpr mib_long OP_FLAGS_MIN = 2;
constexpr mib_long OP_FLAGS_MAX = 127;

bool can_have_rules(ov_ifindex_t ifindex) {
    const uint16_t type = ov_ifindex_get_port_type(ifindex);
    if (type == PORT_TYPE_GPON || type == PORT_TYPE_GONU)
        return true;
    ov_refusal_because("QinQ rules stand on PON ports and ONUs, not on %#x", ifindex);
    OV_LOG_ERROR("QINQ", "Not valid ifindex[%#x].", ifindex);
    return false;
}

// ---- rows and rules ---------------------------------------------------------------------------------------

Row row_of(const Rule& rule) {
    Row row = {};
    row.userVlanMin = rule.user_vlan_min;
    row.userVlanMax = rule.user_vlan_max;
    row.ethType = rule.ether_type;
    row.cos = rule.cos;
    row.opFlags = rule.opflag;
    row.ifIndex = rule.ifindex;
    row.svlanId = rule.svlan;
    row.svlanCos = rule.svlancos;
    return row;
}

Rule rule_of(const Row& row) {
    Rule rule = {};
    rule.ifindex = row.ifIndex;
    rule.user_vlan_min = static_cast<uint16_t>(row.userVlanMin);
    rule.user_vlan_max = static_cast<uint16_t>(row.userVlanMax);
    rule.ether_type = static_cast<uint16_t>(row.ethType);
    rule.cos = static_cast<uint16_t>(row.cos);
    rule.opflag = static_cast<uint16_t>(row.opFlags);
    rule.svlan = static_cast<uint16_t>(row.svlanId);
    rule.svlancos = static_cast<uint16_t>(row.svlanCos);
    return rule;
}

// ---- may a row become a rule? -----------------------------------------------------------------------------

bool has_op_flags(const Row& row) {
    if (row.opFlags >= OP_FLAGS_MIN && row.opFlags <= OP_FLAGS_MAX)
        return true;
    ov_refusal_because("opFlags is %d to %d, not %d", OP_FLAGS_MIN, OP_FLAGS_MAX, row.opFlags);
    OV_LOG_ERROR("QINQ", "Not valid opFlags[%#x].", static_cast<unsigned>(row.opFlags));
    return false;
}

// Only the port sees all the VLANs that an ONU's users send.
bool has_range_on_port(const Row& row) {
    if (ov_ifindex_get_port_type(row.ifIndex) == PORT_TYPE_GPON)
        return true;
    ov_refusal_because("a range of user VLANs can stand on a PON port only");
    OV_LOG_ERROR("QINQ", "qinq uservlan range can only applied on pon interface! ifindex[%#x].", row.ifIndex);
    return false;
}

bool has_vlans_in_order(const Row& row) {
    if (row.userVlanMin != 0 && row.userVlanMax >= row.userVlanMin)
        return true;
    ov_refusal_because("%d to %d is no range of VLANs", row.userVlanMin, row.userVlanMax);
    OV_LOG_ERROR("QINQ", "user end vlan[%d] should greater than begin vlan[%d].", row.userVlanMax,
                 row.userVlanMin);
    return false;
}

// The numbers of a rule have 16 bits: cut, they would be those of another rule.
bool has_numbers_of_a_rule(const Row& row) {
    constexpr mib_long MAX = std::numeric_limits<uint16_t>::max();
    const mib_long numbers[] = {row.userVlanMin, row.userVlanMax, row.ethType,
                                row.cos,         row.svlanId,     row.svlanCos};
    return std::ranges::all_of(numbers, [](mib_long number) {
        return (number >= 0 && number <= MAX) || ov_refusal_because("%d isn't 0 to %d", number, MAX);
    });
}

bool _ov_app_gpon_qinq_mmg_attr_check(const Row& row) {
    if (!can_have_rules(row.ifIndex) || !has_op_flags(row))
        return false;
    const bool has_range = (row.opFlags & ov_gpon_qinq_op(OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE)) != 0;
    if (has_range && (!has_range_on_port(row) || !has_vlans_in_order(row)))
        return false;
    return has_numbers_of_a_rule(row);
}

// ---- what a row asks for ----------------------------------------------------------------------------------

int add_rule(Rule& rule) {
    if (ov_app_gpon_qinq_add(&rule, FOR_A_ROW) == OV_GPON_RET_OK)
        return SET_ACCEPTED;
    OV_LOG_ERROR("QINQ", "ov_app_gpon_qinq_add fail");
    return SET_REFUSED;
}

int delete_rule(Rule& rule) {
    if (ov_app_gpon_qinq_del(&rule, FOR_A_ROW) == OV_GPON_RET_OK)
        return SET_ACCEPTED;
    OV_LOG_ERROR("QINQ", "ov_app_gpon_qinq_del fail");
    return SET_REFUSED;
}

} // namespace

int ov_app_gpon_qinq_smarQinqTable_set_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    const Row& written = *static_cast<const Row*>(row);
    if (!_ov_app_gpon_qinq_mmg_attr_check(written)) {
        OV_LOG_ERROR("QINQ", "_ov_app_gpon_qinq_mmg_attr_check fail");
        return SET_REFUSED;
    }
    Rule rule = rule_of(written);
    const int mode = MibRowStatusGet(did, row);
    switch (mode) {
    case MODE_CRE:
        return add_rule(rule);
    case MODE_DEL:
        return delete_rule(rule);
    case MODE_CHG:
        ov_refusal_because("a QinQ rule can't be changed, only deleted and added anew");
        OV_LOG_ERROR("QINQ", "change mib op no support!");
        return SET_REFUSED;
    default:
        OV_LOG_ERROR("QINQ", "operate mib action[%d] no support!", mode);
        return SET_REFUSED;
    }
}

int ov_app_gpon_qinq_smarQinqTable_get_callback(MIBDID /*did*/, void* /*row*/, MIB_Flags_t /*column_flag*/) {
    return SET_ACCEPTED;
}

// ---- the row of a rule ------------------------------------------------------------------------------------

int ov_app_gpon_qinq_mmg_add(const ov_gpon_qinq_attr_t& attr) {
    if (!can_have_rules(attr.ifindex))
        return OV_GPON_RET_BAD_PARAM;
    Row row = row_of(attr);
    if (const Row* there = find_stored_row(row); there != nullptr) {
        OV_LOG_INFO("QINQ", "mib already exist");
        if (there->svlanId == row.svlanId && there->svlanCos == row.svlanCos)
            return OV_GPON_RET_OK;
        ov_refusal_because("its row has service VLAN %d", there->svlanId);
        OV_LOG_ERROR("QINQ", "mib data conflict");
        return OV_GPON_RET_EXISTED;
    }
    row.smartQinqRowStatus = OVRA_CREATEANDGO;
    const MIB_Flags_t columns = columns_of(column::svlanId, column::svlanCos, column::smartQinqRowStatus);
    if (mib_access(MIB_SET_S, row, columns, getQinqAppid()))
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("QINQ", "ov_app_gpon_qinq_mmg_add failed");
    return OV_GPON_RET_FAIL;
}

int ov_app_gpon_qinq_mmg_del(const ov_gpon_qinq_attr_t& attr) {
    if (!can_have_rules(attr.ifindex))
        return OV_GPON_RET_BAD_PARAM;
    Row row = row_of(attr);
    if (find_stored_row(row) == nullptr ||
        mib_access(MIB_DEL_S, row, columns_of(column::smartQinqRowStatus), getQinqAppid()))
        return OV_GPON_RET_OK;
    OV_LOG_ERROR("QINQ", "ov_app_gpon_qinq_mmg_del failed");
    return OV_GPON_RET_FAIL;
}

// ---- start ------------------------------------------------------------------------------------------------

int getQinqAppid() {
    return qinq_appid;
}

void setQinqAppid(int appid) {
    qinq_appid = appid;
}

// The store alone: the rules are no managers' business and no file's, a saved configuration has them.
void ov_app_gpon_qinq_mmg_init() {
    setQinqAppid(AssignAppId());
    initialize_table_smartQinqTable_data();
    const CallbackRegistration registration = {"ov_app_gpon_qinq", getQinqAppid(),
                                               "qinq: register callback failed"};
    registration.add(SMARTQINQ, CALLBACK_SET, ov_app_gpon_qinq_smarQinqTable_set_callback, mibDefFlags);
    registration.add(SMARTQINQ, CALLBACK_GET, ov_app_gpon_qinq_smarQinqTable_get_callback, mibDefFlags);
    registration.add(SONU, CALLBACK_SET, ov_app_gpon_onu_qinq_on_onu_table_callback,
                     columns_of(sOnuTable_column::sOnuTableRowStatus));
}
