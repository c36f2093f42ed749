// Services behind an ONU (sRmServiceTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmservice_init();
