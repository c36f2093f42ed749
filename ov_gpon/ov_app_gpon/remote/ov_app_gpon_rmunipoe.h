// Power over Ethernet at the UNIs of an ONU (sRmUniPoeTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmunipoe_init();
