// Counters of PON ports (ponPmTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_pm_pon_init();
