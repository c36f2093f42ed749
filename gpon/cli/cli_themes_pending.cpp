// Themes whose commands aren't there yet.
#include "cli_themes.h"
#include "gpon_vty.h"

void init_qos_vtysh() {
    // TODO: QoS profiles and where they are used
}

void gpon_vty_rm_cli_init() {
    // TODO: remote management
}

void qinq_cmd_init() {
    gpon_vty_install_node(qinq_node);
    // TODO: QinQ rules
}

int ov_gpon_qinq_vtysh_cfg(struct vty* /*vty*/) {
    return 0; // TODO: QinQ rules
}
