// Thresholds of the optics of an ONU (sRmOnuOptThresholdTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmonu_opt_threshold_init();
