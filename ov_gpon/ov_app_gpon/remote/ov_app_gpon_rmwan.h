// WAN connections of an ONU (sRmWanTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmwan_init();
