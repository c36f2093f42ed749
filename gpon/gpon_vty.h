// The daemon's command nodes and commands.
#pragma once

// Installs nodes and commands; main thread, before the command trees are sorted.
void gpon_vty_init();
