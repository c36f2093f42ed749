// Present readings of an ONU's counters (onuStatTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_stat_onu_init();
