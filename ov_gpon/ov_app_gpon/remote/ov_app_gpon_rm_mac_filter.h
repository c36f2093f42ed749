// MAC filters behind an ONU: mode, learnt and entered addresses (rmServiceMacFilterModeTable,
// rmServiceMacFilterDynamicTable, rmServiceMacFilterStaticTable).
#pragma once

#include "mmg_access.h"
#include "rmServiceMacFilterDynamicTable.h"
#include "rmServiceMacFilterModeTable.h"
#include "rmServiceMacFilterStaticTable.h"

// Start-up, in their places of the list.
void ov_app_gpon_rm_mac_filter_mode_init();
void ov_app_gpon_rm_mac_filter_dyn_init();
void ov_app_gpon_rm_mac_filter_static_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_mac_filter_mode_edit(ov_rmServiceMacFilterModeTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_dyn_edit(ov_rmServiceMacFilterDynamicTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_static_add(ov_rmServiceMacFilterStaticTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_static_edit(ov_rmServiceMacFilterStaticTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_static_del(ov_rmServiceMacFilterStaticTable_attr_t* attr);
