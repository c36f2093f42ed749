// The commands of QinQ, which aren't there yet: there is their node, and nothing on it.
#include "cli_themes.h"
#include "gpon_vty.h"

void qinq_cmd_init() {
    gpon_vty_install_node(qinq_node);
    // TODO: QinQ rules
}

int ov_gpon_qinq_vtysh_cfg(struct vty* /*vty*/) {
    return 0; // TODO: QinQ rules
}
