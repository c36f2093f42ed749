// Remote information: what an ONU reports of itself (sRmInfoTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rminfo_init();
