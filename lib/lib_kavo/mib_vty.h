// The command "show mib table".
#pragma once

struct vty;

// Installs the command on the debug and enable nodes. Main thread, at start.
void mib_table_vty_init();

// Prints the registered tables in the order of their first look-up.
void mib_table_vty_dump_all(struct vty* vty);
