// VoIP of an ONU (sRmVoipConfigDataTable).
#pragma once

#include "mmg_access.h"
#include "sRmVoipConfigDataTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rm_voip_conig_data_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_voip_config_data_edit(ov_sRmVoipConfigDataTable_attr_t* attr, MIB_Flags_t* flag);
