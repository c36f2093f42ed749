// Multicast behind an ONU (sRmMulticastTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmmulticast_init();
