// Optics of PON ports: thresholds of their alarms (sPonThresholdTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_pon_threshold_init();
