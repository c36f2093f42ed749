// VoIP of an ONU (sRmVoipConfigDataTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rm_voip_conig_data_init();
