// SIP users of an ONU (sRmVoipSipUserDataTable).
#pragma once

#include "mmg_access.h"
#include "sRmVoipSipUserDataTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rm_sip_user_data_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_sip_user_data_edit(ov_sRmVoipSipUserDataTable_attr_t* attr, MIB_Flags_t* flag);
