// Parts of the configuration whose modules aren't there yet: they print nothing.
#include "gpon_config_parts.h"

int ov_app_dump_qos_cfg_vtysh(struct vty* /*vty*/) {
    return 0; // TODO: QoS profiles and settings, by vty->cfg_node
}
