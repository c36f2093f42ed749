// SIP users of an ONU (sRmVoipSipUserDataTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rm_sip_user_data_init();
