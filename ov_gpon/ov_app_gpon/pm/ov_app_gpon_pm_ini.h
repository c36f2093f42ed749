// The settings file of the collection of counters.
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_pm_ini_init();
