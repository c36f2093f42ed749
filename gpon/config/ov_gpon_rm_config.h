// The saved configuration of what lies behind ONUs: a family of lines for each kind of thing. Each function
// prints the lines of one ONU, or of one service profile, and gives their number.
#pragma once

#include <string>

#include "app_rows.h"
#include "cli_objects.h"
#include "gpon_config_parts.h"
#include "kavo_cmd.h"
#include "ov_gpon_onu_config.h"

int ov_gpon_cli_rm_mcast_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_iphost_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_tr069_mgmt_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_queue_schedule_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_service_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_mac_filter_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_voip_config_data_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_voip_sip_agent_config_data_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_voip_sip_user_data_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_wan_cfg(struct vty* vty, const gpon_config_onu_t& onu);
int ov_gpon_cli_rm_wifi_cfg(struct vty* vty, const gpon_config_onu_t& onu);

// ---- what they share ------------------------------------------------------------------------------------

inline enum node_type gpon_rm_config_node(const gpon_config_onu_t& onu) {
    return onu.row != nullptr ? GPON_ONU_NODE : ONU_SRV_PROFILE_NODE;
}

// Prints the command that makes a row, and gives 1. Of one that no command makes, whose line is empty, it
// tells in the log of a "write file", under the name `what`, and gives 0.
int gpon_rm_config_print(struct vty* vty, const gpon_config_onu_t& onu, const std::string& what,
                         const std::string& line);

// A family that consists of the settings of a table's rows.
template <typename Row, const CliObject& object>
int gpon_rm_config_settings(struct vty* vty, const gpon_config_onu_t& onu) {
    int lines = 0;
    for (const Row& row : rows_under(gpon_config_key_of<Row>(onu), INDEX_TO_ONU))
        lines += cli_settings_print(vty, object, &row, gpon_rm_config_node(onu));
    return lines;
}
