// Modules of what stands behind an ONU that aren't there yet. They stand in their place in the start-up list
// and do nothing.
#include "app_restore_line.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rmmulticast.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_types.h"

void ov_app_gpon_rmservice_init() {
    // TODO: callbacks of sRmServiceTable
}
void ov_app_gpon_rmmulticast_init() {
    // TODO: callbacks of sRmMulticastTable
}
void ov_app_gpon_rm_mac_filter_mode_init() {
    // TODO: callbacks of the three tables of MAC filters
}
void ov_app_gpon_rm_mac_filter_dyn_init() {
    // TODO: callbacks of the three tables of MAC filters
}
void ov_app_gpon_rm_mac_filter_static_init() {
    // TODO: callbacks of the three tables of MAC filters
}

// Their doors.
// TODO: the writes of these tables; until then each is refused.
int ov_app_gpon_rmservice_add(ov_sRmServiceTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rmservice_edit(ov_sRmServiceTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rmservice_del(ov_sRmServiceTable_attr_t* /*attr*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rmmulticast_edit(ov_sRmMulticastTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_mac_filter_mode_edit(ov_rmServiceMacFilterModeTable_attr_t* /*attr*/,
                                        MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_mac_filter_dyn_edit(ov_rmServiceMacFilterDynamicTable_attr_t* /*attr*/,
                                       MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_mac_filter_static_add(ov_rmServiceMacFilterStaticTable_attr_t* /*attr*/,
                                         MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_mac_filter_static_edit(ov_rmServiceMacFilterStaticTable_attr_t* /*attr*/,
                                          MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_mac_filter_static_del(ov_rmServiceMacFilterStaticTable_attr_t* /*attr*/) {
    return OV_GPON_RET_BAD_PARAM;
}

// A replay to a card brings nothing of their tables.
// TODO: maps of the remote management of ONUs. Those that are set: rm_mcast, rm_macfilter_mode,
// rm_macfilter_dynamic, with ov_rmuni_mcast_table_attr_mask_get,
// ov_rmservice_macfilter_mode_table_attr_mask_get, ov_rmservice_macfilter_dynamic_table_attr_mask_get: the
// replay masks of their maps.
RESTORE_LATER(rm_service, SRMSERVICE, OV_HAL_MSG_GPON_RM_SERVICE)
RESTORE_LATER(rm_mcast, SRMMULTICAST, OV_HAL_MSG_GPON_RM_UNI_MCAST)
RESTORE_LATER(rm_macfilter_mode, SRMMACFMODE, OV_HAL_MSG_GPON_RM_MAC_FLT)
RESTORE_LATER(rm_macfilter_static, SRMMACFS, OV_HAL_MSG_GPON_RM_MAC_FLT)
RESTORE_LATER(rm_macfilter_dynamic, SRMMACFD, OV_HAL_MSG_GPON_RM_MAC_FLT)

// Those of service profiles.
RESTORE_TEMPLATES_LATER(rmservice, SRMSERVICE, OV_HAL_MSG_GPON_RM_SERVICE)
