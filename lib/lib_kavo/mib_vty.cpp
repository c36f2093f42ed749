#include "mib_vty.h"

#include "kavo_cmd_rows.h"
#include "mmg_definition.h"

namespace {

const char* enabled(char flag) {
    return flag != 0 ? "enable" : "disable";
}

int show_mib_table(CliCall& call) {
    mib_table_vty_dump_all(call.vty);
    return 0;
}

const kavo_cmd_t mib_cmds[] = {
#include "mib_vty.def"
};

} // namespace

void mib_table_vty_dump_all(struct vty* vty) {
    static const char rule[] = "   ------------------------------------------------------------";
    const char* nl = kavo_newline(vty);
    vty_out(vty, "   %5s    %-25s    %9s    %s%s", "index", "name", "auto-save", "auto-sync", nl);
    vty_out(vty, "%s%s", rule, nl);
    int total = 0;
    for (MIBDid_t did = mmg_table_did_at(0); did.table_name != nullptr; did = mmg_table_did_at(total)) {
        vty_out(vty, "   %5d    %-25s    %9s    %s%s", did.index, did.table_name,
                enabled(did.if_trigger_save), enabled(did.if_trigger_sync), nl);
        total++;
    }
    vty_out(vty, "%s%s", rule, nl);
    vty_out(vty, "  total %2d mib tables%s", total, nl);
}

void mib_table_vty_init() {
    kavo_cmd_install(mib_cmds);
}
