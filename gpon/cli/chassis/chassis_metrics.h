// "show chassis metrics": the figures of the chassis for programs, a line each, as OpenMetrics and Prometheus
// have samples,
//
//     gpon_onus{slot="1",port="3",state="operational"} 127
//
// from what tables and counts hold: no card is asked. Comes in steps (gpon_stepped_show.h). docs/metrics.md
// has the names; tools/exporter hands them on.
#pragma once

#include <memory>

#include "gpon_stepped_show.h"

// Prints the chassis' figures, and with `onus` those of each ONU behind them. For the end of a handler.
int chassis_show_metrics(struct vty* vty, bool onus);
