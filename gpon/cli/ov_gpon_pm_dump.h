// Counters of PON ports, ONUs and GEM ports as an operator sees them: a line for each, behind the object that
// they belong to, or JSON for a session that asked for it. Event loop's thread.
#pragma once

#include "gemPmTable.h"
#include "onuPmTable.h"
#include "ponPmTable.h"
#include "ponnniPmTable.h"

struct vty;

// The GTC layer of a PON port (ITU-T G.984.3).
void dump_cli_pm_pon_table(struct vty* vty, const ov_ponPmTable_attr_t& row);
// Its frames towards the switch.
void dump_cli_pm_nni_table(struct vty* vty, const ov_ponnniPmTable_attr_t& row);
// An ONU at its PON port.
void dump_cli_pm_onu_table(struct vty* vty, const ov_onuPmTable_attr_t& row);
void dump_cli_pm_gem_table(struct vty* vty, const ov_gemPmTable_attr_t& row);
