// VLANs of an ONU's UNIs.
#include "cli_command_rows.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_gpon_rm_cli.h"
#include "sRmUniVlanTable.h"

namespace {

using namespace sRmUniVlanTable_column;
using Vlan = ov_sRmUniVlanTable_attr_t;

// The mode that the line names, 0 for none.
mib_long mode_of(const CliWords& words) {
    const ColumnDesc& mode = *table_desc_sRmUniVlanTable.column(sRmUniVlanTableVlanMode);
    for (const ColName& known : mode.names)
        if (words.has(known.name))
            return known.value;
    return 0;
}

// The VLAN of untagged frames. A priority that isn't given is 0.
void take_pvlan(const CliWords& words, Vlan& row, MIB_Flags_t& columns) {
    row.sRmUniVlanTablePvid = words.number("pvlan");
    row.sRmUniVlanTablePriority = words.number_or("priority", 0);
    mib_flag_set(columns, sRmUniVlanTablePvid);
    mib_flag_set(columns, sRmUniVlanTablePriority);
}

// False for a list that was refused.
bool take_tags(const CliCall& call, Vlan& row, MIB_Flags_t& columns) {
    gpon_rm_uni_vlans_t vlans;
    if (ov_gpon_rm_cli_uni_vlanlist_parse(call.vty, call.words.all("tag"), vlans) == 0)
        return false;
    gpon_rm_put_vlans(row.sRmUniVlanTableVlanIdList, vlans);
    mib_flag_set(columns, sRmUniVlanTableVlanIdList);
    return true;
}

bool take_translations(const CliCall& call, Vlan& row, MIB_Flags_t& columns) {
    gpon_rm_uni_vlans_t users;
    gpon_rm_uni_vlans_t networks;
    if (gpon_rm_uni_xlatelist_parse(call.vty, call.words.all("xlate"), users, networks) == 0)
        return false;
    gpon_rm_put_vlans(row.sRmUniVlanTableVlanIdList, users);
    gpon_rm_put_vlans(row.sRmUniVlanTableTranslateVlanIdList, networks);
    mib_flag_set(columns, sRmUniVlanTableVlanIdList);
    mib_flag_set(columns, sRmUniVlanTableTranslateVlanIdList);
    return true;
}

// All forms of "vlan-mode".
int set_vlan_mode(CliCall& call) {
    Vlan row;
    if (const int refusal = gpon_rm_uni_key(call, "ETHUNI", row); refusal != 0)
        return refusal;
    MIB_Flags_t columns = gpon_cli_columns({sRmUniVlanTableVlanMode});
    row.sRmUniVlanTableVlanMode = mode_of(call.words);
    if (call.words.has("pvlan"))
        take_pvlan(call.words, row, columns);
    if (call.words.has("tag") && !take_tags(call, row, columns))
        return KAVO_CLI_BAD_INPUT;
    if (call.words.has("xlate") && !take_translations(call, row, columns))
        return KAVO_CLI_BAD_INPUT;
    return ov_app_gpon_rmunivlan_edit(&row, &columns) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to set VLAN  mode%s");
}
constexpr auto* ov_rm_gpon_onu_uni_vlan_mode_transparent_cli = set_vlan_mode;
constexpr auto* ov_rm_gpon_onu_uni_vlan_mode_acess_cli = set_vlan_mode;
constexpr auto* ov_rm_gpon_onu_uni_vlan_mode_trunk_cli = set_vlan_mode;
constexpr auto* ov_rm_gpon_onu_uni_vlan_mode_translate_cli = set_vlan_mode;
constexpr auto* ov_rm_gpon_onu_uni_vlan_mode_hybrid_cli = set_vlan_mode;
constexpr auto* ov_rm_gpon_onu_uni_vlan_mode_hybrid_with_priority_cli = set_vlan_mode;

const CliCommand rm_uni_vlan_cmds[] = {
#include "commands/rm_uni_vlan.def"
};

} // namespace

void gpon_rm_uni_vlan_cli_init() {
    cli_install(rm_uni_vlan_cmds);
}
