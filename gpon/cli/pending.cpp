// Themes whose commands aren't there yet.
#include "cli_themes.h"

void init_qos_vtysh() {
    // TODO: QoS profiles and where they are used
}
