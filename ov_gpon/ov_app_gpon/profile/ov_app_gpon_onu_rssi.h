// Profiles of received power: what an ONU's signal may be (sOnuRssiProfileTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_onu_rssi_init();
