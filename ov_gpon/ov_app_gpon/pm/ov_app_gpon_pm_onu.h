// Counters of ONUs (onuPmTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_pm_onu_init();
