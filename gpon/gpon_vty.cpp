#include "gpon_vty.h"

#include "mib_inspect_vty.h"
#include "mib_vty.h"

void gpon_vty_init() {
    // TODO: the nodes of ports, ONUs and profiles with their writers, and their commands.
    mib_table_vty_init();
    mib_inspect_vty_init();
}
