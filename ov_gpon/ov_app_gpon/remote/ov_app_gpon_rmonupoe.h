// Power over Ethernet of a whole ONU (sRmOnuPoeTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmonupoe_init();
