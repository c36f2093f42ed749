// VLANs of the UNIs of an ONU (sRmUniVlanTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmunivlan_init();
