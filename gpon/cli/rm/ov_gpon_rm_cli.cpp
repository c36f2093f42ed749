// The commands of what lies behind an ONU, theme by theme.
#include "ov_gpon_rm_cli.h"

#include "cli_themes.h"

void gpon_vty_rm_cli_init() {
    gpon_rm_uni_cli_init();
    gpon_rm_uni_vlan_cli_init();
    gpon_rm_uni_pm_cli_init();
    gpon_rm_onu_cli_init();
    gpon_rm_service_cli_init();
    gpon_rm_mac_filter_cli_init();
    gpon_rm_multicast_cli_init();
    gpon_rm_mgmt_cli_init();
    gpon_rm_poe_cli_init();
    gpon_rm_optical_cli_init();
    gpon_rm_wan_cli_init();
    gpon_rm_wifi_cli_init();
    gpon_rm_voip_cli_init();
}
