// The configuration of a PON port as a whole.
#pragma once

#include "ov_ifindex.h"

// Puts a port back to its defaults and removes its ONUs. 0, or OV_GPON_RET_FAIL for an index that isn't that
// of a PON port and for a port of a protection group. Main loop.
int ov_app_gpon_port_config_clear(ov_ifindex_t Ifindex);
