// Alarms of counters that have crossed their threshold (tcaAlarmTable, ITU-T G.7710). No hold-off, and no
// LED.
//
// Main loop only.
#pragma once

#include "ov_ifindex.h"
#include "tcaAlarmTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_pm_tca_alm_init();

// Lets an alarm of an object stand (almstate TCAALARMSTATE_SET; one that stands is left alone) or takes it
// back (TCAALARMSTATE_CLEAR). almcode is of TCAALARMCODE_*.
void gen_tca_alm(ov_ifindex_t index, int almcode, int almstate);
