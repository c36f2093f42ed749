// Capabilities of an ONU (sRmOnuCapaTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rmcapa_init();
