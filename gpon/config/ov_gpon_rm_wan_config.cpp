// The saved configuration of WAN connections and wireless networks of ONUs.
#include "app_rows.h"
#include "cli_objects.h"
#include "ov_gpon_onu_config.h"
#include "ov_gpon_rm_config.h"
#include "rm/ov_gpon_rm_wan_forms.h"
#include "sRmWanTable.h"
#include "sRmWifiTable.h"

namespace {

using Wan = ov_sRmWanTable_attr_t;
using Wifi = ov_sRmWifiTable_attr_t;

} // namespace

int ov_gpon_cli_rm_wan_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Wan& wan : rows_under(gpon_config_key_of<Wan>(onu), INDEX_TO_ONU))
        lines += gpon_rm_config_print(vty, onu, "wan " + std::to_string(wan.sRmWanIndex),
                                      gpon_rm_wan_forms().line(&wan));
    return lines;
}

// What is set of a network goes behind the line that makes it.
int ov_gpon_cli_rm_wifi_cfg(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Wifi& wifi : rows_under(gpon_config_key_of<Wifi>(onu), INDEX_TO_ONU)) {
        const int made = gpon_rm_config_print(vty, onu, "wifi " + std::to_string(wifi.sRmWifiIndex),
                                              gpon_rm_wifi_forms().line(&wifi));
        if (made != 0)
            lines += made + cli_settings_print(vty, cli_objects::rm_wifi, &wifi, gpon_rm_config_node(onu));
    }
    return lines;
}
