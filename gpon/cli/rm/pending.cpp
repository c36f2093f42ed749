// The commands of what lies behind an ONU, which aren't there yet.
#include "cli_themes.h"

void gpon_vty_rm_cli_init() {
    // TODO: remote management
}
