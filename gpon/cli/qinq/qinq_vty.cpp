// The commands of QinQ rules, and what is shown of them.
#include <optional>

#include "cli_themes.h"
#include "gpon_stepped_show.h"
#include "gpon_vty.h"
#include "kavo_cmd_rows.h"
#include "kavo_if.h"
#include "kavo_table.h"
#include "kavo_vty_object.h"
#include "ov_refusal.h"
#include "qinq_words.h"

namespace {

using Rule = ov_gpon_qinq_attr_t;

// ---- the interface ----------------------------------------------------------------------------------------

// Fails with a text that tells an interface index, its "%x" or "%#x".
int fail_of_index(const CliCall& call, std::string text, ov_ifindex_t ifindex) {
    char number[16];
    for (const std::string_view mark : {"%x", "%#x"})
        if (const size_t place = text.find(mark); place != text.npos) {
            snprintf(number, sizeof(number), mark == "%x" ? "%x" : "%#x", ifindex);
            text.replace(place, mark.size(), number);
        }
    return call.fail(text.c_str(), KAVO_CLI_BAD_INPUT);
}

// The interface that a line names; 0, or the result of a refusal.
int read_interface(const CliCall& call, Rule& rule) {
    const char* const name = call.words.text("IFNAME");
    rule.ifindex = uif_get_ifindex_by_name(name);
    const uint16_t type = ov_ifindex_get_port_type(rule.ifindex);
    if (type == PORT_TYPE_GPON || type == PORT_TYPE_GONU)
        return 0;
    ov_refusal_because("\"%s\" is no PON port and no ONU of the system", name);
    return fail_of_index(call, "%% qinq can only applied on pon and onu interface! ifindex[%x]%s",
                         rule.ifindex);
}

// ---- adding and deleting ----------------------------------------------------------------------------------

bool has_range(const Rule& rule) {
    return ov_gpon_qinq_has(rule, OV_GPON_ONU_QINQ_OP_USERVLAN_RANGE);
}

int check_range_on_port(const CliCall& call, const Rule& rule) {
    if (ov_ifindex_get_port_type(rule.ifindex) == PORT_TYPE_GPON)
        return 0;
    return fail_of_index(call, "%% qinq uservlan range can only applied on pon interface! ifindex[%#x]%s",
                         rule.ifindex);
}

// Of a rule that is to be added; 0, or the result of a refusal.
int check_new_range(const CliCall& call, const Rule& rule) {
    if (const int result = check_range_on_port(call, rule); result != 0)
        return result;
    if (rule.user_vlan_max == 0)
        return call.fail("%% user end vlan should greater than 0%s", KAVO_CLI_BAD_INPUT);
    if (rule.user_vlan_max < rule.user_vlan_min)
        return call.fail("%% user end vlan should greater than begin vlan%s", KAVO_CLI_BAD_INPUT);
    return 0;
}

// Of a rule that is to go.
int check_old_range(const CliCall& call, const Rule& rule) {
    if (const int result = check_range_on_port(call, rule); result != 0)
        return result;
    if (rule.user_vlan_max < rule.user_vlan_min)
        return call.fail("%% user vlan range invalid%s", KAVO_CLI_BAD_INPUT);
    return 0;
}

int add_rule(CliCall& call) {
    Rule rule = {};
    if (const int result = read_interface(call, rule); result != 0)
        return result;
    qinq_read_criteria(call, rule);
    qinq_read_service_vlan(call, rule);
    if (has_range(rule))
        if (const int result = check_new_range(call, rule); result != 0)
            return result;
    return ov_app_gpon_qinq_add(&rule, QINQ_SYNC_ALL) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to add qinq rule%s");
}

int delete_rule(const CliCall& call, Rule& rule) {
    return ov_app_gpon_qinq_del(&rule, QINQ_SYNC_ALL) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to delete qinq rule%s");
}

int delete_rule_of_criteria(CliCall& call) {
    Rule rule = {};
    if (const int result = read_interface(call, rule); result != 0)
        return result;
    qinq_read_criteria(call, rule);
    if (has_range(rule))
        if (const int result = check_old_range(call, rule); result != 0)
            return result;
    return delete_rule(call, rule);
}

// The rule for all traffic, or all rules of the interface.
int ov_gpon_qinq_base_del_cli(CliCall& call) {
    Rule rule = {};
    if (const int result = read_interface(call, rule); result != 0)
        return result;
    rule.opflag =
        ov_gpon_qinq_op(call.words.has("all") ? OV_GPON_ONU_QINQ_OP_PORT_ALL : OV_GPON_ONU_QINQ_OP_PORT_TSP);
    return delete_rule(call, rule);
}

// The system's names for the forms; what a line names tells them apart.
constexpr auto* ov_gpon_qinq_base_cli = add_rule;
constexpr auto* ov_gpon_qinq_uservlan_cli = add_rule;
constexpr auto* ov_gpon_qinq_uservlan_range_cli = add_rule;
constexpr auto* ov_gpon_qinq_ethtype_cli = add_rule;
constexpr auto* ov_gpon_qinq_uservlan_ethtype_cli = add_rule;
constexpr auto* ov_gpon_qinq_cos_cli = add_rule;
constexpr auto* ov_gpon_qinq_uservlan_cos_cli = add_rule;
constexpr auto* ov_gpon_qinq_ethtype_cos_cli = add_rule;
constexpr auto* ov_gpon_qinq_uservlan_del_cli = delete_rule_of_criteria;
constexpr auto* ov_gpon_qinq_uservlan_range_del_cli = delete_rule_of_criteria;
constexpr auto* ov_gpon_qinq_ethtype_del_cli = delete_rule_of_criteria;
constexpr auto* ov_gpon_qinq_uservlan_ethtype_del_cli = delete_rule_of_criteria;
constexpr auto* ov_gpon_qinq_cos_del_cli = delete_rule_of_criteria;
constexpr auto* ov_gpon_qinq_uservlan_cos_del_cli = delete_rule_of_criteria;
constexpr auto* ov_gpon_qinq_ethtype_cos_del_cli = delete_rule_of_criteria;

// ---- showing ----------------------------------------------------------------------------------------------

constexpr kavo_column_t COLUMNS[] = {{"interface", -16}, {"id", 2},    {"user vlan", -9}, {"ether type", -13},
                                     {"user cos", -8},   {"svlan", 5}, {"svlan cos", -10}};
constexpr int STEP = 250; // rules in a step of a show

int print_rules(const kavo_table_t& table, ov_ifindex_t ifindex) {
    char name[UIF_NAME_SIZE] = "";
    ov_gen_ifname_by_ifindex(ifindex, name, sizeof(name));
    int count = 0;
    for (const Rule& rule : ov_app_gpon_qinq_rules_of(ifindex)) {
        table.row({name, rule.qinqId.value(), qinq_user_vlans(rule), qinq_ether_type(rule),
                   qinq_user_cos(rule), rule.svlan.value(), qinq_service_cos(rule)});
        ++count;
    }
    return count;
}

// Some more interfaces; false when none is left.
bool print_step(const kavo_table_t& table, ov_ifindex_t& next, int& count) {
    for (const int end = count + STEP; count < end;) {
        const auto ifindex = ov_app_gpon_qinq_interface_from(next);
        if (!ifindex) {
            table.line("total %d", count);
            return false;
        }
        count += print_rules(table, *ifindex);
        next = *ifindex + 1;
    }
    return true;
}

int show_all(const CliCall& call, const kavo_table_t& table) {
    return gpon_show_in_steps(call.vty, [table, next = ov_ifindex_t{0}, count = 0]() mutable {
        return print_step(table, next, count);
    });
}

// Shows the rules of an interface, or of all.
int ov_app_gpon_qinq_show_if(const CliCall& call, std::optional<ov_ifindex_t> ifindex) {
    const kavo_table_t table(call.vty, COLUMNS);
    table.line("%s", "");
    table.heading();
    table.rule();
    if (!ifindex)
        return show_all(call, table);
    table.line("total %d", print_rules(table, *ifindex));
    return 0;
}

// Those of the interface that is named, or that the session stands on.
int show_qinq_port_cli(CliCall& call) {
    if (call.words.has("port")) {
        Rule of = {};
        const int result = read_interface(call, of);
        return result != 0 ? result : ov_app_gpon_qinq_show_if(call, of.ifindex);
    }
    ov_ifindex_t ifindex = 0;
    const bool stands_on_one = call.vty->node == IF_GPON_NODE || call.vty->node == GPON_ONU_NODE;
    if (!stands_on_one || ov_get_ifindex_from_vtysh(call.vty, &ifindex) != 0)
        return ov_app_gpon_qinq_show_if(call, std::nullopt);
    return ov_app_gpon_qinq_show_if(call, ifindex);
}

const kavo_cmd_t qinq_cmds[] = {
#include "commands/qinq.def"
};

} // namespace

void qinq_cmd_init() {
    gpon_vty_install_node(qinq_node);
    kavo_cmd_install(qinq_cmds);
}
