// The commands of PON ports. Each init installs its theme; main thread, at start, behind the nodes.
#pragma once

// Settings of a port.
void gpon_port_cli_init();
// Protection groups, and copy and clear of a port.
void gpon_pon_protect_cli_init();
// Counters of ports, ONUs and GEM ports.
void gpon_pm_cli_init();
