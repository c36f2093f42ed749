// Multicast behind an ONU (sRmMulticastTable).
#pragma once

#include "mmg_access.h"
#include "sRmMulticastTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rmmulticast_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmmulticast_edit(ov_sRmMulticastTable_attr_t* attr, MIB_Flags_t* flag);
