// State of the telephone lines of an ONU (sRmVoipLineStatusTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rm_voip_line_status_init();
