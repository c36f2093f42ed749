// Parts of the configuration whose modules aren't there yet: they print nothing.
#include "gpon_config_parts.h"

int ov_gpon_cli_pon_protect_cfg_write(struct vty* /*vty*/) {
    return 0; // TODO: protection groups
}
