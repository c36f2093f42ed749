// WAN connections of an ONU that routes.
#include "cli_command_rows.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_gpon_rm_cli.h"
#include "ov_gpon_rm_wan_forms.h"

namespace {

using Wan = ov_sRmWanTable_attr_t;

// All forms of "remote wan".
int add_wan(CliCall& call) {
    auto row = gpon_cli_onu_key<Wan>(call.vty);
    MIB_Flags_t columns = gpon_cli_columns({});
    if (const int refusal = gpon_rm_wan_forms().read(call, &row, columns); refusal != 0)
        return refusal;
    const int result = ov_app_gpon_rm_wan_add(&row, &columns, 1);
    if (result == OV_GPON_RET_EXISTED)
        return call.fail_of("%%wan[%d] exist %s", row.sRmWanIndex);
    return result == OV_GPON_RET_OK ? 0 : call.fail("%%Failed to add remote wan, please check %s");
}
constexpr auto* ov_rm_gpon_onu_wan_route_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_route_lan_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_route_ssid_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_route_ssid5g_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_route_lan_ssid_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_route_lan_ssid5g_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_route_lan_ssid_ssid5g_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_bridge_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_bridge_lan_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_bridge_ssid_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_bridge_ssid5g_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_bridge_lan_ssid_cli = add_wan;
constexpr auto* ov_rm_gpon_onu_wan_bridge_lan_ssid5g_cli = add_wan;

int ov_rm_gpon_no_onu_wan_route_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Wan>(call.vty);
    row.sRmWanIndex = call.words.number<mib_ulong>("wan");
    return ov_app_gpon_rm_wan_del(&row) == OV_GPON_RET_OK
               ? 0
               : call.fail_of("%%Failed to delete remote wan[%d] %s", row.sRmWanIndex);
}

const CliCommand rm_wan_cmds[] = {
#include "commands/rm_wan.def"
};

} // namespace

void gpon_rm_wan_cli_init() {
    cli_install(rm_wan_cmds);
}
