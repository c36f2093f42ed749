// What ONUs count at their PON port right now (onuStatTable). A row is there as long as its ONU, and is
// filled when it is read.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "onuStatTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_stat_onu_init();

// A row comes and goes with its ONU.
int onu_stat_table_onu_set_callback(MIBDID did, void* row, MIB_Flags_t flags);
// Reads the counters, and lets the card begin at 0 again where the row's onuStatReadClearOperation says so. A
// row whose counters can't be read shows those before; always SET_ACCEPTED.
int onu_stat_table_get_callback(MIBDID did, void* row, MIB_Flags_t flags);
