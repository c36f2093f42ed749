// Counters: which are recorded, and what PON ports, ONUs and GEM ports have counted.
#include "app_rows.h"
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "gpon_cli_scope.h"
#include "ov_app_gpon_pm_gem.h"
#include "ov_app_gpon_pm_onu.h"
#include "ov_app_gpon_pm_pon.h"
#include "ov_app_gpon_pm_pon_nni.h"
#include "ov_gpon.h"
#include "ov_gpon_olt_cli.h"
#include "ov_gpon_pm_dump.h"
#include "ov_refusal.h"
#include "sGemTable.h"
#include "sOnuTable.h"
#include "uplinkPmActTable.h"

namespace {

using Scope = gpon_cli_scope_t;
using Onu = ov_sOnuTable_attr_t;
using Gem = ov_sGemTable_attr_t;

int no_counters(const CliCall& call) {
    return call.fail("%%Failed to get port info %s");
}

// Asks the card, whether the counters are recorded or not. What it clears is missing in the interval that
// runs.
template <typename Row>
int show(const CliCall& call, Row row, int (*read)(Row* row, int clean),
         void (*dump)(struct vty* vty, const Row& row)) {
    const int result = read(&row, call.words.has("enable") ? 1 : 0);
    if (result == OV_GPON_RET_NOT_SUPPORT)
        ov_refusal_because("the card doesn't have these counters");
    if (result != OV_GPON_RET_OK)
        return no_counters(call);
    dump(call.vty, row);
    return 0;
}

int ov_performance_statistic_olt_show_cli(CliCall& call) {
    Scope scope;
    if (!gpon_cli_narrow_to_port(call, scope))
        return KAVO_CLI_BAD_INPUT;
    if (call.words.has("protocol"))
        return show(call, port_key<ov_ponPmTable_attr_t>(scope.slot, scope.port), ov_get_pon_pm_data_from_hal,
                    dump_cli_pm_pon_table);
    return show(call, port_key<ov_ponnniPmTable_attr_t>(scope.slot, scope.port),
                ov_get_pon_nni_pm_data_from_hal, dump_cli_pm_nni_table);
}

// The ONU that the command names by its port and number; null behind a line, for none.
const Onu* find_onu(const CliCall& call) {
    Scope scope;
    if (!gpon_cli_narrow_to_port(call, scope))
        return nullptr;
    const auto number = call.words.number<mib_long>("onu");
    const Onu* onu = find_row(onu_key<Onu>(scope.slot, scope.port, number));
    if (onu == nullptr) {
        ov_refusal_because("no ONU %d", number);
        call.line("%%Onu %d not exist", number);
    }
    return onu;
}

int ov_performance_statistic_onu_show_cli(CliCall& call) {
    const Onu* onu = find_onu(call);
    if (onu == nullptr)
        return KAVO_CLI_BAD_INPUT;
    return show(call, onu_key<ov_onuPmTable_attr_t>(*onu), ov_get_onu_pm_data_from_hal,
                dump_cli_pm_onu_table);
}

// A GEM port is the ONU's own, or one of its service profile.
bool has_gem(const Onu& onu, mib_long number) {
    auto own = onu_key<Gem>(onu);
    auto of_profile = template_key<Gem>(static_cast<mib_ulong>(onu.sOnuTableSrvProfileId));
    own.gemID = of_profile.gemID = number;
    return find_row(own) != nullptr || find_row(of_profile) != nullptr;
}

int ov_performance_statistic_onu_gem_show_cli(CliCall& call) {
    const Onu* onu = find_onu(call);
    if (onu == nullptr)
        return KAVO_CLI_BAD_INPUT;
    auto gem = onu_key<ov_gemPmTable_attr_t>(*onu);
    gem.gemID = call.words.number<mib_long>("gem");
    if (!has_gem(*onu, gem.gemID)) {
        ov_refusal_because("the ONU has no GEM port %d", gem.gemID);
        return no_counters(call);
    }
    return show(call, gem, ov_get_gem_pm_data_from_hal, dump_cli_pm_gem_table);
}

using namespace cli_objects;
using namespace uplinkPmActTable_column;
const CliCommand pm_cmds[] = {
#include "commands/pm.def"
};

} // namespace

void gpon_pm_cli_init() {
    cli_install(pm_cmds);
}
