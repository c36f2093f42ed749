// Why ONUs aren't up: "show onu reason".
#include <string>

#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "kavo_table.h"
#include "ov_app_gpon_onu_why.h"
#include "ov_gpon_onu_cli.h"
#include "ov_local_time.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using Scope = gpon_cli_scope_t;

constexpr kavo_column_t COLUMNS[] = {{"onu", -10},         {"now", -17}, {"since", -20},
                                     {"last reason", -15}, {"at", -20},  {"remarks", 0}};

kavo_table_t begin_table(struct vty* vty) {
    const kavo_table_t table(vty, COLUMNS, {.trimmed = true});
    table.line("%s", "");
    table.heading();
    table.rule();
    return table;
}

void print_onu(const kavo_table_t& table, const Onu& onu) {
    const gpon_onu_why_t why = ov_app_gpon_onu_why(onu);
    const std::string place =
        std::to_string(onu.slotID) + "/" + std::to_string(onu.portID) + ":" + std::to_string(onu.onuId);
    table.row({place, ov_app_gpon_onu_now_text(why.now), ov_local_time_text(why.since),
               ov_app_gpon_onu_reason_text(why.last), ov_local_time_text(why.last_at),
               gpon_cli_shown(why.detail.c_str())});
}

// The ONUs in scope, whose index begins with what of it is given; of an open port the number is compared.
int show(struct vty* vty, const kavo_table_t& table, const Scope& scope) {
    const auto key = onu_key<Onu>(scope.slot, scope.port, scope.onu);
    size_t leading = 1;
    if (scope.port != Scope::ANY)
        leading = scope.onu != Scope::ANY ? INDEX_TO_ONU : INDEX_TO_PORT;
    // With those that wait for a manager: that is a reason, too.
    return gpon_show_rows<WalkedRows::STORED>(
        vty, key, leading,
        [table, id = scope.onu](const Onu& onu) {
            const bool is_asked_for = id == Scope::ANY || onu.onuId == id;
            if (is_asked_for)
                print_onu(table, onu);
            return is_asked_for;
        },
        [table](int count) { table.line("total %d", count); });
}

int gpon_show_onu_reason_cli(CliCall& call) {
    Scope scope = gpon_cli_object_scope_of(call.vty);
    scope.onu = call.words.number_or("onu", scope.onu);
    return show(call.vty, begin_table(call.vty), scope);
}

int gpon_show_interface_onu_reason_cli(CliCall& call) {
    Scope scope;
    const kavo_table_t table = begin_table(call.vty);
    const bool has_number = call.words.text_or("onu", nullptr) != nullptr;
    if (!(has_number ? gpon_cli_narrow_to_port(call, scope) : gpon_cli_narrow_to_object(call, scope)))
        return KAVO_CLI_BAD_INPUT;
    if (has_number)
        scope.onu = call.words.number("onu");
    return show(call.vty, table, scope);
}

const kavo_cmd_t onu_reason_cmds[] = {
#include "commands/onu_reason.def"
};

} // namespace

void gpon_onu_reason_cli_init() {
    kavo_cmd_install(onu_reason_cmds);
}
