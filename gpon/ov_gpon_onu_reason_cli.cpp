// Why ONUs aren't up: "show onu reason".
#include <string>

#include "gpon_cli_scope.h"
#include "gpon_stepped_show.h"
#include "kavo_cmd_rows.h"
#include "ov_app_gpon_onu_why.h"
#include "ov_gpon_onu_cli.h"

namespace {

using Onu = ov_sOnuTable_attr_t;
using Scope = gpon_cli_scope_t;

constexpr char FORMAT[] = "%-10s %-17s %-19s  %-15s %-19s%s%s%s";
constexpr size_t WIDTH = 84;

void print_head(struct vty* vty, const char* nl) {
    vty_out(vty, "%s", nl);
    vty_out(vty, FORMAT, "onu", "now", "since", "last reason", "at", "  ", "remarks", nl);
    vty_out(vty, "%s%s", std::string(WIDTH, '-').c_str(), nl);
}

void print_onu(struct vty* vty, const Onu& onu, const char* nl) {
    const gpon_onu_why_t why = ov_app_gpon_onu_why(onu);
    const std::string place =
        std::to_string(onu.slotID) + "/" + std::to_string(onu.portID) + ":" + std::to_string(onu.onuId);
    vty_out(vty, FORMAT, place.c_str(), ov_app_gpon_onu_now_text(why.now), gpon_cli_time(why.since).c_str(),
            ov_app_gpon_onu_reason_text(why.last), gpon_cli_time(why.last_at).c_str(),
            why.detail.empty() ? "" : "  ", gpon_cli_shown(why.detail.c_str()).c_str(), nl);
}

// The ONUs in scope, whose index begins with what of it is given; of an open port the number is compared.
int show(struct vty* vty, const Scope& scope) {
    const char* nl = kavo_newline(vty);
    Onu key = {};
    key.shelfID = GPON_CLI_SHELF;
    key.slotID = scope.slot;
    key.portID = scope.port;
    key.onuId = scope.onu;
    size_t leading = 1;
    if (scope.port != Scope::ANY)
        leading = scope.onu != Scope::ANY ? INDEX_TO_ONU : INDEX_TO_PORT;
    return gpon_show_rows(
        vty, key, leading,
        [vty, nl, id = scope.onu](const Onu& onu) {
            const bool is_asked_for = id == Scope::ANY || onu.onuId == id;
            if (is_asked_for)
                print_onu(vty, onu, nl);
            return is_asked_for;
        },
        [vty, nl](int count) { vty_out(vty, "total %d%s", count, nl); });
}

// [<1-128>]
int gpon_show_onu_reason_cli(struct cmd_element* /*self*/, struct vty* vty, int argc, const char** argv) {
    Scope scope = gpon_cli_object_scope_of(vty);
    if (argc > 0)
        scope.onu = gpon_cli_number(argv[0]);
    print_head(vty, kavo_newline(vty));
    return show(vty, scope);
}

// IFNAME [<1-128>]
int gpon_show_interface_onu_reason_cli(struct cmd_element* /*self*/, struct vty* vty, int argc,
                                       const char** argv) {
    Scope scope;
    print_head(vty, kavo_newline(vty));
    const bool is_named = argc > 1 ? gpon_cli_narrow_to_port(vty, argv[0], scope)
                                   : gpon_cli_narrow_to_object(vty, argv[0], scope);
    if (!is_named)
        return KAVO_CLI_BAD_INPUT;
    if (argc > 1)
        scope.onu = gpon_cli_number(argv[1]);
    return show(vty, scope);
}

const kavo_cmd_t onu_reason_cmds[] = {
#include "commands/onu_reason.def"
};

} // namespace

void gpon_onu_reason_cli_init() {
    kavo_cmd_install(onu_reason_cmds);
}
