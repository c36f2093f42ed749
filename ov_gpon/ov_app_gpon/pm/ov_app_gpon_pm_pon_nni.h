// Counters of PON ports towards the switch (ponnniPmTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_pm_pon_nni_init();
