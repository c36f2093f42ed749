// A developer's read-only look into the tables: "show mib table TABLE" and its rows.
#pragma once

// Installs the commands on the debug and enable nodes; main thread, at start.
void mib_inspect_vty_init();
