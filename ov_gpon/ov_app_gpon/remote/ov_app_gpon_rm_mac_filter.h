// MAC filters behind an ONU: mode, learnt and entered addresses (rmServiceMacFilterModeTable,
// rmServiceMacFilterDynamicTable, rmServiceMacFilterStaticTable).
#pragma once

// Start-up, in their places of the list.
void ov_app_gpon_rm_mac_filter_mode_init();
void ov_app_gpon_rm_mac_filter_dyn_init();
void ov_app_gpon_rm_mac_filter_static_init();
