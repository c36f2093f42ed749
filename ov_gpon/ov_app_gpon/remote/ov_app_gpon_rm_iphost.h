// IP hosts of an ONU (sRmIPHostTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rm_iphost_init();
