// The saved configuration of services inside ONUs, and of their MAC filters.
#include "cli_forms.h"
#include "command_syntaxes.h"
#include "ov_gpon_rm_config.h"
#include "rm/ov_gpon_rm_mac_word.h"
#include "rm/ov_gpon_rm_uni_word.h"
#include "rmServiceMacFilterDynamicTable.h"
#include "rmServiceMacFilterModeTable.h"
#include "rmServiceMacFilterStaticTable.h"
#include "sRmServiceTable.h"

namespace {

using Service = ov_sRmServiceTable_attr_t;
using Mode = ov_rmServiceMacFilterModeTable_attr_t;
using Limit = ov_rmServiceMacFilterDynamicTable_attr_t;
using Rule = ov_rmServiceMacFilterStaticTable_attr_t;

// ---- services -------------------------------------------------------------------------------------------

std::string line_of(const Service& row) {
    static const CliForms forms(gpon_command_syntaxes(), {"service", "gem", "vlan", "cos", "ETHUNI"});
    const std::string word = gpon_rm_uni_word(row);
    const CliValue uni = word.empty() ? CliValue::untypable() : CliValue(word);
    const CliValue service = row.rmServiceID;
    const CliValue gem = row.sRmServiceTableGemId;
    const CliValue vlan = row.sRmServiceTableVlanId;
    const CliValue cos = row.sRmServiceTablePriorityID;
    switch (row.sRmServiceTableRmServiceType) {
    case SRMSERVICETABLERMSERVICETYPE_VLAN:
        return forms.line({service, gem, vlan, {}, {}});
    case SRMSERVICETABLERMSERVICETYPE_VLAN_COS:
        return forms.line({service, gem, vlan, cos, {}});
    case SRMSERVICETABLERMSERVICETYPE_VLAN_UNI:
        return forms.line({service, gem, vlan, {}, uni});
    case SRMSERVICETABLERMSERVICETYPE_VLAN_COS_UNI:
        return forms.line({service, gem, vlan, cos, uni});
    case SRMSERVICETABLERMSERVICETYPE_TRANSPARNT:
        return forms.line({service, gem, {}, {}, {}});
    case SRMSERVICETABLERMSERVICETYPE_TRANSPARNT_UNI:
        return forms.line({service, gem, {}, {}, uni});
    default:
        return "";
    }
}

// ---- MAC filters ----------------------------------------------------------------------------------------

// "forward" and "discard" name what stands behind them, the address that is looked at.
std::string line_of(const Rule& row) {
    static const CliForms forms(gpon_command_syntaxes(),
                                {"mac_filter service", "rule", "forward", "discard", "MMMM-MMMM-MMMM", "no"});
    const CliValue looked_at = row.rmSmfsRule == RMSMFSRULE_DA   ? "da"
                               : row.rmSmfsRule == RMSMFSRULE_SA ? CliValue("sa")
                                                                 : CliValue::untypable();
    const bool forward = row.rmSmfsFwdFilter == RMSMFSFWDFILTER_FORWARD;
    const bool discard = row.rmSmfsFwdFilter == RMSMFSFWDFILTER_DISCARD;
    return forms.line({row.rmServiceID,
                       row.rmSmfsId,
                       forward ? looked_at : CliValue(),
                       discard ? looked_at : CliValue(),
                       gpon_rm_mac_word(row.rmSmfsMac),
                       {}});
}

// The lines of one service.
int print_mac_filter(struct vty* vty, const gpon_config_onu_t& onu, const Service& service) {
    auto mode = gpon_config_key_of<Mode>(onu);
    auto limit = gpon_config_key_of<Limit>(onu);
    auto rule = gpon_config_key_of<Rule>(onu);
    mode.rmServiceID = limit.rmServiceID = rule.rmServiceID = service.rmServiceID;
    const auto node = gpon_rm_config_node(onu);
    int lines = 0;
    for (const Mode& row : rows_under(mode, INDEX_TO_ONU + 1))
        lines += cli_settings_print(vty, cli_objects::rm_mac_filter_mode, &row, node);
    for (const Limit& row : rows_under(limit, INDEX_TO_ONU + 1))
        lines += cli_settings_print(vty, cli_objects::rm_mac_filter_limit, &row, node);
    for (const Rule& row : rows_under(rule, INDEX_TO_ONU + 1))
        lines +=
            gpon_rm_config_print(vty, onu, "mac_filter rule " + std::to_string(row.rmSmfsId), line_of(row));
    return lines;
}

} // namespace

int ov_gpon_cli_rm_service_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Service& row : rows_under(gpon_config_key_of<Service>(onu), INDEX_TO_ONU))
        lines +=
            gpon_rm_config_print(vty, onu, "remote service " + std::to_string(row.rmServiceID), line_of(row));
    return lines;
}

// No command makes one of a service profile.
int ov_gpon_cli_rm_mac_filter_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    if (gpon_rm_config_node(onu) != GPON_ONU_NODE)
        return lines;
    for (const Service& row : rows_under(gpon_config_key_of<Service>(onu), INDEX_TO_ONU))
        lines += print_mac_filter(vty, onu, row);
    return lines;
}
