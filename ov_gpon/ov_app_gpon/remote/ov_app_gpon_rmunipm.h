// Counters of the UNIs of an ONU (sRmUniPmTable) and the task that fetches them.
#pragma once

// Start-up, in their places of the list.
void ov_app_gpon_rmunipm_init();
void ov_app_gpon_rmunipm_task_init();
