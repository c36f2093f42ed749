#include "ov_app_gpon_qinq.h"

#include <cstdlib>
#include <string_view>

#include "app_key.h"
#include "app_set_callback.h"
#include "ov_app_gpon_qinq_id.h"
#include "ov_app_gpon_qinq_list.h"
#include "ov_app_gpon_qinq_mmg.h"
#include "ov_hal_gpon_attr_index.h"
#include "ov_hal_gpon_msg.h"
#include "ov_product.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "sOnuTable.h"

namespace {

using Rule = ov_gpon_qinq_attr_t;

constexpr unsigned OPFLAG_MAX = ov_gpon_qinq_op(OV_GPON_ONU_QINQ_OP_MAX) - 1u;

bool is_for_all(const Rule& rule) {
    return ov_gpon_qinq_has(rule, OV_GPON_ONU_QINQ_OP_PORT_ALL);
}

// ---- the card ---------------------------------------------------------------------------------------------

// 0 for an interface that no card has rules for.
int message_of(ov_ifindex_t ifindex) {
    switch (ov_ifindex_get_port_type(ifindex)) {
    case PORT_TYPE_GONU:
        return OV_HAL_MSG_GPON_ONU_QINQ;
    case PORT_TYPE_GPON:
        return OV_HAL_MSG_GPON_PORT_QINQ;
    default:
        return 0;
    }
}

// The bit of the mask says whether the rule comes or goes; the action is the same.
int send_rule(Rule rule, int op) {
    const int message = message_of(rule.ifindex);
    if (message == 0)
        return OV_GPON_RET_OK;
    const int result = ov_hal_gpon_msg_send(message, OV_HAL_GPON_MSG_ACTION_SET, &rule, 1 << op, 1);
    if (result != OV_GPON_RET_OK)
        refuse_for_card(result, message);
    return result;
}

// While the configuration is replayed at a start nothing is sent: each card is told when its turn comes.
int ov_app_gpon_qinq_hal(const Rule& rule, int op) {
    if (!ov_product_sys_oper_status_get()) {
        OV_LOG_INFO("QINQ", "qinq hal vtysh init");
        return OV_GPON_RET_OK;
    }
    if (op != OV_GPON_QINQ_ATTR_INDEX_add && op != OV_GPON_QINQ_ATTR_INDEX_del)
        return OV_GPON_RET_NOT_SUPPORT;
    return send_rule(rule, op);
}

// ---- adding -----------------------------------------------------------------------------------------------

// Into the three places. What the card was told stays when a later step fails.
int store(const Rule& rule, ov_app_qinq_sync_flag_t flag) {
    if (ov_app_gpon_qinq_hal(rule, OV_GPON_QINQ_ATTR_INDEX_add) != OV_GPON_RET_OK)
        return OV_GPON_RET_FAIL;
    if ((flag & QINQ_SYNC_MIB) != 0 && ov_app_gpon_qinq_mmg_add(rule) != OV_GPON_RET_OK)
        return OV_GPON_RET_FAIL;
    return ov_app_gpon_qinq_link(rule) ? OV_GPON_RET_OK : OV_GPON_RET_FAIL;
}

} // namespace

int ov_app_gpon_qinq_add(ov_gpon_qinq_attr_t* attr, ov_app_qinq_sync_flag_t flag) {
    if (attr == nullptr || is_for_all(*attr) || attr->opflag > OPFLAG_MAX)
        return OV_GPON_RET_BAD_PARAM;
    if (ov_app_gpon_qinq_find(*attr, ov_app_gpon_qinq_match_byall) != nullptr) {
        ov_refusal_because("a QinQ rule with these criteria is there already");
        OV_LOG_ERROR("QINQ", "qinq item already exist!");
        return OV_GPON_RET_EXISTED;
    }
    if (const int result = ov_app_gpon_qinq_check(*attr); result != OV_GPON_RET_OK) {
        OV_LOG_ERROR("QINQ", "Error[%d]\n", result);
        return result;
    }
    uint16_t id = 0;
    if (const int result = ov_app_gpon_qinq_assign_id(attr->ifindex, &id); result != OV_GPON_RET_OK)
        return result;
    attr->qinqId = id;
    const int result = store(*attr, flag);
    if (result != OV_GPON_RET_OK)
        ov_app_gpon_qinq_release_id(attr->ifindex, id);
    return result;
}

// ---- deleting ---------------------------------------------------------------------------------------------

namespace {

// The application forgets the rule whatever card and table say.
int ov_app_gpon_qinq_del_one(const Rule& request, ov_app_qinq_sync_flag_t flag) {
    const auto* element = ov_app_gpon_qinq_find(request, ov_app_gpon_qinq_match_byall);
    if (element == nullptr) {
        ov_refusal_because("no QinQ rule has these criteria");
        OV_LOG_ERROR("QINQ", "qinq item isn't exist!");
        return OV_GPON_RET_NOT_FOUND;
    }
    const Rule rule = element->attr;
    const int card = ov_app_gpon_qinq_hal(rule, OV_GPON_QINQ_ATTR_INDEX_del);
    if (card != OV_GPON_RET_OK)
        OV_LOG_ERROR("QINQ", "qinq rule %d of %#x stays on the card: code %d", static_cast<int>(rule.qinqId),
                     rule.ifindex.value(), card);
    const int table = (flag & QINQ_SYNC_MIB) != 0 ? ov_app_gpon_qinq_mmg_del(rule) : OV_GPON_RET_OK;
    if (table != OV_GPON_RET_OK)
        OV_LOG_ERROR("QINQ", "qinq rule %d of %#x keeps its row: code %d", static_cast<int>(rule.qinqId),
                     rule.ifindex.value(), table);
    ov_app_gpon_qinq_unlink(element);
    ov_app_gpon_qinq_release_id(rule.ifindex, rule.qinqId);
    return card | table;
}

// One by one, until none is left or one fails.
int delete_all(const Rule& request, ov_app_qinq_sync_flag_t flag) {
    while (const auto* element = ov_app_gpon_qinq_find(request, ov_app_gpon_qinq_match_byall)) {
        const Rule rule = element->attr;
        if (const int result = ov_app_gpon_qinq_del_one(rule, flag); result != OV_GPON_RET_OK)
            return result;
    }
    return OV_GPON_RET_OK;
}

// By id, whatever fails.
int delete_rules_of(ov_ifindex_t ifindex) {
    int result = OV_GPON_RET_OK;
    for (uint16_t id = 1; id <= OV_GPON_QINQ_RULES_MAX; ++id) {
        Rule request = {};
        request.ifindex = ifindex;
        request.qinqId = id;
        if (!ov_app_gpon_qinq_id_is_taken(ifindex, id))
            continue;
        const auto* element = ov_app_gpon_qinq_find(request, ov_app_gpon_qinq_match_byqinqId);
        if (element == nullptr)
            continue;
        Rule rule = element->attr;
        result |= ov_app_gpon_qinq_del(&rule, QINQ_SYNC_ALL);
    }
    return result;
}

} // namespace

int ov_app_gpon_qinq_del(ov_gpon_qinq_attr_t* attr, ov_app_qinq_sync_flag_t flag) {
    if (attr == nullptr || attr->opflag > OPFLAG_MAX)
        return OV_GPON_RET_BAD_PARAM;
    return is_for_all(*attr) ? delete_all(*attr, flag) : ov_app_gpon_qinq_del_one(*attr, flag);
}

int ov_app_gpon_port_qinq_del(ov_ifindex_t ifindex) {
    return delete_rules_of(ifindex);
}

int ov_app_gpon_onu_qinq_del(ov_ifindex_t ifindex) {
    return delete_rules_of(ifindex);
}

int ov_app_gpon_onu_qinq_on_onu_table_callback(MIBDID did, void* row, MIB_Flags_t /*column_flag*/) {
    if (MibRowStatusGet(did, row) != MODE_DEL)
        return SET_ACCEPTED;
    const auto& onu = *static_cast<const ov_sOnuTable_attr_t*>(row);
    return ov_app_gpon_onu_qinq_del(onu_ifindex_of(onu)) == OV_GPON_RET_OK ? SET_ACCEPTED : SET_REFUSED;
}

// ---- a card that comes up ---------------------------------------------------------------------------------

// At a start that is while the system isn't in operation yet: it is what the rules have waited for.
int ov_app_gpon_qinq_config_restore(int slot_id) {
    for (const QinqLink* link = g_qinq_attr.next; link != &g_qinq_attr; link = link->next) {
        const Rule& rule = qinq_element(*link).attr;
        if (ov_ifindex_get_slot_id(rule.ifindex) != static_cast<uint32_t>(slot_id))
            continue;
        if (const int result = send_rule(rule, OV_GPON_QINQ_ATTR_INDEX_add); result != OV_GPON_RET_OK)
            return result;
    }
    return OV_GPON_RET_OK;
}

// ---- names ------------------------------------------------------------------------------------------------

uint16_t ov_gpon_qinq_ethtype_parser(const char* typeStr) {
    constexpr struct {
        std::string_view name;
        uint16_t number;
    } ETHER_TYPES[] = {
        {"any", 0},       {"ipv6", 0x86DD},          {"ip", 0x0800},         {"arp", 0x0806},
        {"rarp", 0x8035}, {"pppoe-control", 0x8863}, {"pppoe-data", 0x8864},
    };
    for (const auto& type : ETHER_TYPES)
        if (type.name == typeStr)
            return type.number;
    return static_cast<uint16_t>(std::strtol(typeStr, nullptr, 10));
}

void ov_app_gpon_qinq_init() {
    ov_app_gpon_qinq_mmg_init();
}
