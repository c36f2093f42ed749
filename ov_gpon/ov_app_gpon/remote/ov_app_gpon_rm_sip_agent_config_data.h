// The SIP agent of an ONU (sRmVoipSipAgentConfigTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rm_sip_agent_config_data_init();
