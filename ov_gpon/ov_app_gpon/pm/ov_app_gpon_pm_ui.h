// Counters of uplink ports (uplinkPmTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_pm_ui_init();
