// The commands about the daemon itself: "show version", "show memory", "help".
#pragma once

// Installs them. Call when the nodes are installed.
void host_vty_init();
