// SIP agents of an ONU (sRmVoipSipAgentConfigTable), those of a service profile too: servers and port. They
// are made by operators and go with their owner.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmVoipSipAgentConfigTable.h"

extern int gpon_rm_sip_agent_appid;
extern const MessageMap<ov_sRmVoipSipAgentConfigTable_attr_t, ov_rm_voip_sip_agent_config_data_attr_t>
    rm_sip_agent_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_voip_sip_agent;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_voip_sip_agent;

// Start-up, in its place of the list.
void ov_app_gpon_rm_sip_agent_config_data_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_sip_agent_config_data_add(ov_sRmVoipSipAgentConfigTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_sip_agent_config_data_edit(ov_sRmVoipSipAgentConfigTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_sip_agent_config_data_delete(ov_sRmVoipSipAgentConfigTable_attr_t* attr);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rm_voip_sip_agent_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_voip_sip_agent_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_app_gpon_rm_voip_agent_config_data_onutable_set_callback(MIBDID did, void* row,
                                                                MIB_Flags_t column_flag);
int ov_app_gpon_rm_voip_sip_agent_config_data_onu_srvprofile_set_callback(MIBDID did, void* row,
                                                                          MIB_Flags_t column_flag);
