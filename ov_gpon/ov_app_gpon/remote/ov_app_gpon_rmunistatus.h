// State and settings of the UNIs of an ONU (sRmUniStatusTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmunistatus_init();
