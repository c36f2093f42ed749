// Thresholds of counters (ponPmThrTable, onuPmThrTable, gemPmThrTable) and the alarms of those that are
// crossed (tcaAlarmTable).
#pragma once

// Start-up, in their places of the list.
void ov_app_gpon_pm_pon_thr_init();
void ov_app_gpon_pm_onu_thr_init();
void ov_app_gpon_pm_gem_thr_init();
void ov_app_gpon_pm_tca_alm_init();
