// MAC filters of the services inside an ONU.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_gpon_rm_cli.h"
#include "ov_gpon_rm_mac_word.h"

namespace {

using namespace cli_objects;
using namespace rmServiceMacFilterModeTable_column;
using namespace rmServiceMacFilterDynamicTable_column;
using namespace rmServiceMacFilterStaticTable_column;
using Rule = ov_rmServiceMacFilterStaticTable_attr_t;

constexpr ColName MODES[] = {{RMSMFMMODE_DYNAMIC, "dynamic"}, {RMSMFMMODE_STATIC, "static"}};

// The rule that the line tells of. 0, or the result of a refusal, behind its text.
int read_rule(const CliCall& call, Rule& row) {
    row = gpon_cli_onu_key<Rule>(call.vty);
    row.rmServiceID = call.words.number<mib_ulong>("service");
    row.rmSmfsId = call.words.number<mib_ulong>("rule");
    row.rmSmfsFwdFilter = call.words.has("discard") ? RMSMFSFWDFILTER_DISCARD : RMSMFSFWDFILTER_FORWARD;
    row.rmSmfsRule = call.words.has("sa") ? RMSMFSRULE_SA : RMSMFSRULE_DA;
    const char* const word = call.words.text("MMMM-MMMM-MMMM");
    if (gpon_rm_mac_of(word, row.rmSmfsMac))
        return 0;
    ov_refusal_because("\"%s\" isn't an address as 0011-2233-4455", word);
    return call.fail("%% invalid mac format!%s", KAVO_CLI_BAD_INPUT);
}

int ov_gpon_onu_rm_mac_filter_static_cli(CliCall& call) {
    Rule row;
    if (const int refusal = read_rule(call, row); refusal != 0)
        return refusal;
    MIB_Flags_t columns = gpon_cli_columns({rmSmfsFwdFilter, rmSmfsRule, rmSmfsMac});
    return ov_app_gpon_rm_mac_filter_static_add(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to add mac filter static rule%s");
}

// The number says which; what else the line has must only be well-formed.
int ov_gpon_onu_rm_no_mac_filter_static_cli(CliCall& call) {
    Rule row;
    if (const int refusal = read_rule(call, row); refusal != 0)
        return refusal;
    return ov_app_gpon_rm_mac_filter_static_del(&row) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to delete mac filter static rule%s");
}

const CliCommand rm_mac_filter_cmds[] = {
#include "commands/rm_mac_filter.def"
};

} // namespace

void gpon_rm_mac_filter_cli_init() {
    cli_install(rm_mac_filter_cmds);
}
