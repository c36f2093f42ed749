// Who provisioned themselves: "show onu learned".
#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_app_gpon_onu_learnt.h"
#include "ov_gpon_onu_cli.h"
#include "ov_local_time.h"

namespace {

using Learnt = gpon_learnt_onu_t;
using Scope = gpon_cli_scope_t;

constexpr size_t LINES_OF_A_STEP = 250;

constexpr kavo_column_t COLUMNS[] = {{"onu", -10},   {"serial number", -16}, {"kind", -4},   {"model", -20},
                                     {"vendor", -6}, {"rule", -8},           {"profile", 7}, {"at", -20},
                                     {"result", 0}};
constexpr kavo_column_t SUMMARY_COLUMNS[] = {
    {"rule", -8}, {"profile", 7}, {"onus", 6}, {"refused", 7}, {"last at", -20}};

kavo_table_t begin_table(struct vty* vty, std::span<const kavo_column_t> columns) {
    const kavo_table_t table(vty, columns, {.trimmed = true});
    table.line("%s", "");
    table.heading();
    table.rule();
    return table;
}

std::string place_of(const Learnt& learnt) {
    const auto key = onu_key_of_ifindex<ov_sOnuTable_attr_t>(learnt.onu);
    return std::to_string(key.slotID) + "/" + std::to_string(key.portID) + ":" + std::to_string(key.onuId);
}

kavo_cell_t profile_cell(mib_ulong profile) {
    return profile != 0 ? kavo_cell_t(profile) : kavo_cell_t("-");
}

void print_onu(const kavo_table_t& table, const Learnt& learnt) {
    const std::string result = ov_app_gpon_learn_outcome_text(learnt.outcome);
    table.row({place_of(learnt), learnt.sn, learnt.is_hgu ? "hgu" : "sfu", learnt.model, learnt.vendor,
               ov_app_gpon_learn_rule_text(learnt.rule, learnt.slot), profile_cell(learnt.profile),
               ov_local_time_text(learnt.at),
               learnt.reason.empty() ? result : result + ": " + learnt.reason});
}

bool is_refused(const Learnt& learnt) {
    return learnt.outcome == LearnOutcome::REFUSED;
}

// What is left is printed in steps: the memory may be that of two full cards.
int show(struct vty* vty, std::vector<Learnt> found) {
    const kavo_table_t table = begin_table(vty, COLUMNS);
    const auto shown = std::make_shared<const std::vector<Learnt>>(std::move(found));
    return gpon_show_in_steps(vty, [table, shown, next = size_t{0}]() mutable {
        const size_t end = std::min(next + LINES_OF_A_STEP, shown->size());
        for (; next < end; ++next)
            print_onu(table, (*shown)[next]);
        if (next < shown->size())
            return true;
        const auto refused = std::count_if(shown->begin(), shown->end(), is_refused);
        table.line("total %d, refused %d", static_cast<int>(shown->size()), static_cast<int>(refused));
        return false;
    });
}

bool scope_of(const CliCall& call, Scope& scope) {
    scope = gpon_cli_scope_of(call.vty);
    return !call.words.has("IFNAME") || gpon_cli_narrow_to_port(call, scope);
}

int gpon_show_onu_learned_cli(CliCall& call) {
    Scope scope;
    if (!scope_of(call, scope))
        return KAVO_CLI_BAD_INPUT;
    return show(call.vty, ov_app_gpon_onus_learnt(scope.slot, scope.port));
}

int gpon_show_onu_learned_refused_cli(CliCall& call) {
    Scope scope;
    if (!scope_of(call, scope))
        return KAVO_CLI_BAD_INPUT;
    std::vector<Learnt> found = ov_app_gpon_onus_learnt(scope.slot, scope.port);
    std::erase_if(found, [](const Learnt& each) {
        return !is_refused(each) && each.outcome != LearnOutcome::COPY_FAILED;
    });
    return show(call.vty, std::move(found));
}

// ---- by rule ----------------------------------------------------------------------------------------------

struct Sum {
    int onus = 0;
    int refused = 0;
    mib_ulong last_at = 0;

    void add(const Learnt& learnt) {
        ++(is_refused(learnt) ? refused : onus);
        last_at = std::max(last_at, learnt.at);
    }
};

int gpon_show_onu_learned_summary_cli(CliCall& call) {
    const Scope scope = gpon_cli_scope_of(call.vty);
    std::map<std::pair<std::string, mib_ulong>, Sum> sums; // by rule and profile
    Sum all;
    for (const Learnt& learnt : ov_app_gpon_onus_learnt(scope.slot, scope.port)) {
        sums[{ov_app_gpon_learn_rule_text(learnt.rule, learnt.slot), learnt.profile}].add(learnt);
        all.add(learnt);
    }
    const kavo_table_t table = begin_table(call.vty, SUMMARY_COLUMNS);
    for (const auto& [key, sum] : sums)
        table.row(
            {key.first, profile_cell(key.second), sum.onus, sum.refused, ov_local_time_text(sum.last_at)});
    table.line("total %d, refused %d", all.onus + all.refused, all.refused);
    return 0;
}

const kavo_cmd_t onu_learnt_cmds[] = {
#include "commands/onu_learnt.def"
};

} // namespace

void gpon_onu_learnt_cli_init() {
    kavo_cmd_install(onu_learnt_cmds);
}
