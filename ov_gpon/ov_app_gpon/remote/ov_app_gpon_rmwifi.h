// Wi-Fi of an ONU (sRmWifiTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmwifi_init();
