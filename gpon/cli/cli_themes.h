// The themes of commands, each installed by its own init: main thread, at start, behind the nodes.
#pragma once

struct vty;

// QoS profiles and where they are used.
void init_qos_vtysh();
// From one object to another, system-wide settings, debug switches, profiles.
void gpon_vty_cli_init();
// PON ports and the life of their ONUs, performance, upgrades.
void gpon_vty_olt_cli_init();
// One ONU, or one ONU service profile.
void gpon_vty_onu_cli_init();
// What lies behind an ONU.
void gpon_vty_rm_cli_init();
// QinQ rules; installs their node first.
void qinq_cmd_init();

// The writer of the QinQ node.
int ov_gpon_qinq_vtysh_cfg(struct vty* vty);
