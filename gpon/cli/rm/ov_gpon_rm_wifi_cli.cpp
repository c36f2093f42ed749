// Wireless networks of an ONU.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_gpon_rm_cli.h"
#include "ov_gpon_rm_wan_forms.h"

namespace {

using namespace cli_objects;
using namespace sRmWifiTable_column;
using Wifi = ov_sRmWifiTable_attr_t;

// All forms of "remote wifi".
int add_wifi(CliCall& call) {
    auto row = gpon_cli_onu_key<Wifi>(call.vty);
    MIB_Flags_t columns = gpon_cli_columns({});
    if (const int refusal = gpon_rm_wifi_forms().read(call, &row, columns); refusal != 0)
        return refusal;
    return ov_app_gpon_rm_wifi_add(&row, &columns, 1) == OV_GPON_RET_OK
               ? 0
               : call.fail("%%Failed to add remote wifi %s");
}
constexpr auto* ov_rm_gpon_onu_wifi_bw_add_cli = add_wifi;
constexpr auto* ov_rm_gpon_onu_wifi_add_cli = add_wifi;
constexpr auto* ov_rm_gpon_onu_wifi_open_bw_add_cli = add_wifi;
constexpr auto* ov_rm_gpon_onu_wifi_open_add_cli = add_wifi;
constexpr auto* ov_rm_gpon_onu_wifi_wep_bw_add_cli = add_wifi;
constexpr auto* ov_rm_gpon_onu_wifi_wep_add_cli = add_wifi;

int ov_rm_gpon_onu_wifi_no_cli(CliCall& call) {
    auto row = gpon_cli_onu_key<Wifi>(call.vty);
    row.sRmWifiIndex = call.words.number<mib_ulong>("wifi");
    return ov_app_gpon_rm_wifi_del(&row) == OV_GPON_RET_OK ? 0
                                                           : call.fail("%%Failed to config remote wifi %s");
}

const CliCommand rm_wifi_cmds[] = {
#include "commands/rm_wifi.def"
};

} // namespace

void gpon_rm_wifi_cli_init() {
    cli_install(rm_wifi_cmds);
}
