// Parts of the configuration whose modules aren't there yet: they print nothing.
#include "gpon_config_parts.h"

int ov_gpon_cli_onurssi_profile_cfg(struct vty* /*vty*/) {
    return 0; // TODO: RSSI profiles of ONUs
}
int ov_app_dump_qos_cfg_vtysh(struct vty* /*vty*/) {
    return 0; // TODO: QoS profiles and settings, by vty->cfg_node
}
int ov_gpon_cli_pon_protect_cfg_write(struct vty* /*vty*/) {
    return 0; // TODO: protection groups
}

int ov_gpon_cli_pon_port_threshold_alarm_cfg(struct vty* /*vty*/, const ov_sPonTable_attr_t& /*port*/) {
    return 0; // TODO: optical thresholds
}
