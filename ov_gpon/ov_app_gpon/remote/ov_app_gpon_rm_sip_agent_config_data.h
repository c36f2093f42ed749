// The SIP agent of an ONU (sRmVoipSipAgentConfigTable).
#pragma once

#include "mmg_access.h"
#include "sRmVoipSipAgentConfigTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rm_sip_agent_config_data_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_sip_agent_config_data_add(ov_sRmVoipSipAgentConfigTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_sip_agent_config_data_edit(ov_sRmVoipSipAgentConfigTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_sip_agent_config_data_delete(ov_sRmVoipSipAgentConfigTable_attr_t* attr);
