// QinQ rules on the test chassis: a system that is in operation, rules as an operator would make them, and
// what became of them.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "../../support/app_chassis.h"
#include "app_set_callback.h"
#include "ov_app_gpon_qinq.h"
#include "ov_app_gpon_qinq_id.h"
#include "ov_app_gpon_qinq_list.h"
#include "ov_app_gpon_qinq_mmg.h"
#include "smartQinqTable.h"

namespace qinq_test {

using Rule = ov_gpon_qinq_attr_t;
using Row = ov_smartQinqTable_attr_t;

inline constexpr int SLOT = AppChassis::SLOT;
inline constexpr int PORT_RULE = OV_HAL_MSG_GPON_PORT_QINQ;
inline constexpr int ONU_RULE = OV_HAL_MSG_GPON_ONU_QINQ;
inline constexpr uint32_t ADDED = 1u << 1; // masks of the messages
inline constexpr uint32_t DELETED = 1u << 2;
inline constexpr int CARD_REFUSED = 101001; // as the transport tells it, but for 1008
inline constexpr uint16_t TSP = 1 << 2;     // bits of a rule
inline constexpr uint16_t VLAN = 1 << 3;
inline constexpr uint16_t RANGE = 1 << 4;
inline constexpr uint16_t ETHER = 1 << 5;
inline constexpr uint16_t COS = 1 << 6;
inline constexpr uint16_t ALL = 1 << 1;

inline ov_ifindex_t port_at(int port, int slot = SLOT) {
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, 1, static_cast<uint8_t>(slot), 0,
                                     static_cast<uint16_t>(port), 0);
}
inline ov_ifindex_t onu_at(int port, int onu, int slot = SLOT) {
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GONU, 1, static_cast<uint8_t>(slot), 0,
                                     static_cast<uint16_t>(port), static_cast<uint16_t>(onu));
}

inline Rule rule_on(ov_ifindex_t ifindex, uint16_t opflag, uint16_t svlan = 100) {
    Rule rule = {};
    rule.ifindex = ifindex;
    rule.opflag = opflag;
    rule.svlan = svlan;
    return rule;
}
inline Rule vlan_rule(ov_ifindex_t ifindex, uint16_t vlan, uint16_t svlan = 100) {
    Rule rule = rule_on(ifindex, VLAN, svlan);
    rule.user_vlan_min = vlan;
    return rule;
}
inline Rule range_rule(ov_ifindex_t ifindex, uint16_t first, uint16_t last) {
    Rule rule = rule_on(ifindex, RANGE);
    rule.user_vlan_min = first;
    rule.user_vlan_max = last;
    return rule;
}
inline Rule ether_rule(ov_ifindex_t ifindex, uint16_t type) {
    Rule rule = rule_on(ifindex, ETHER);
    rule.ether_type = type;
    return rule;
}
inline Rule cos_rule(ov_ifindex_t ifindex, uint16_t cos) {
    Rule rule = rule_on(ifindex, COS);
    rule.cos = cos;
    return rule;
}

inline int add(Rule rule, ov_app_qinq_sync_flag_t flag = QINQ_SYNC_ALL) {
    return ov_app_gpon_qinq_add(&rule, flag);
}
inline int del(Rule rule, ov_app_qinq_sync_flag_t flag = QINQ_SYNC_ALL) {
    return ov_app_gpon_qinq_del(&rule, flag);
}

// The ids of an interface's rules, in the order in which they were added.
inline std::vector<int> ids_of(ov_ifindex_t ifindex) {
    std::vector<int> ids;
    for (const Rule& rule : ov_app_gpon_qinq_rules_of(ifindex))
        ids.push_back(rule.qinqId);
    return ids;
}

inline Row row_of(const Rule& rule) {
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
inline const Row* stored(const Rule& rule) {
    return find_stored_row(row_of(rule));
}
inline size_t rows() {
    return static_cast<size_t>(MibNumberGet(did_of<Row>()));
}
// As another module would write it, through the callbacks.
inline bool write(Row row, int status = OVRA_CREATEANDGO) {
    row.smartQinqRowStatus = status;
    return mib_access(MIB_SET, row);
}
inline bool remove(Row row) {
    return mib_access(MIB_DEL, row);
}

// "902 set 0x2 3" of a message: the last is the rule's id.
inline std::string in_short(const CardMessage& message) {
    char text[64];
    snprintf(text, sizeof text, "%d %s 0x%x %d", message.type, message.action == 3 ? "set" : "?",
             message.mask, static_cast<int>(message.record<Rule>().qinqId));
    return text;
}
inline std::vector<std::string> sent(const AppChassis& chassis) {
    std::vector<std::string> all;
    for (const CardMessage& message : chassis.messages())
        all.push_back(in_short(message));
    return all;
}

inline bool logged(const AppChassis& chassis, const std::string& line) {
    return std::ranges::count(chassis.hal.log.lines(), line) != 0;
}

inline void set_operational(bool yes) {
    HalChassis::set("OV_APP_FLAG_SYS_OPSTATUS", yes ? "1" : "0");
}

// Runs the body on a system that is in operation.
inline void run(const std::function<void(AppChassis&)>& body) {
    app_chassis::run([&body](AppChassis& chassis) {
        set_operational(true);
        body(chassis);
    });
}

} // namespace qinq_test
