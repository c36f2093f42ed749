// The replay lines of tables whose modules aren't there yet: nothing of them is replayed. A module takes its
// line out of here and hands in its own, with its map.
#include "app_restore_line.h"
#include "onuQosTable.h"
#include "ov_app_gpon_config_restore_mask.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"
#include "table_module.h"

RESTORE_LATER(onu_rssi, SONURSSIPROFILE, OV_HAL_MSG_GPON_ONU_RSSI)    // TODO: map of record 904
RESTORE_LATER(pon_protect, SPORTPROTECT, OV_HAL_MSG_GPON_PON_PROTECT) // TODO: map of record 952

// TODO: maps of the remote management of ONUs. Those that are set: rm_uni_status, rm_tr069,
// rm_queue_schedule, rm_uni_vlan, rm_mcast, rm_voip_cfg, rm_voip_sip_user, rm_macfilter_mode,
// rm_macfilter_dynamic, rm_uni_poe, rm_onu_poe, with ov_rmuni_table_attr_mask_get,
// ov_rm_tr069_mgmt_table_attr_mask_get, ov_rmuni_vlan_table_attr_mask_get,
// ov_rmuni_mcast_table_attr_mask_get, ov_rm_voip_config_data_table_attr_mask_get,
// ov_rm_voip_sip_user_data_table_attr_mask_get, ov_rmservice_macfilter_mode_table_attr_mask_get,
// ov_rmservice_macfilter_dynamic_table_attr_mask_get, ov_rmuni_poe_table_attr_mask_get,
// ov_rmonu_poe_table_attr_mask_get: the replay masks of their maps.
RESTORE_LATER(onu_info, SRMINFO, OV_HAL_MSG_GPON_RMONU_INFO) // TODO: map of record 914
RESTORE_LATER(rm_uni_status, SRMUNISTATUS, OV_HAL_MSG_GPON_RM_UNI)
RESTORE_LATER(rm_iphost, SRMIPHOST, OV_HAL_MSG_GPON_RMONU_IPHOST)
RESTORE_LATER(rm_tr069, SRMTR069MGMT, OV_HAL_MSG_GPON_RMONU_TR069_SRV)
RESTORE_LATER(rm_queue_schedule, SRMQUEUESCHEDULE, OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE)
RESTORE_LATER(rm_service, SRMSERVICE, OV_HAL_MSG_GPON_RM_SERVICE)
RESTORE_LATER(rm_uni_vlan, SRMUNIVLAN, OV_HAL_MSG_GPON_RM_UNI_VLAN)
RESTORE_LATER(rm_mcast, SRMMULTICAST, OV_HAL_MSG_GPON_RM_UNI_MCAST)
RESTORE_LATER(rm_wan, SRMWAN, OV_HAL_MSG_GPON_RM_WAN)
RESTORE_LATER(rm_wifi, SRMWIFI, OV_HAL_MSG_GPON_RM_WIFI)
RESTORE_LATER(rm_voip_cfg, SRMVOIPCONFIGDATA, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA)
RESTORE_LATER(rm_voip_sip_agent, SRMVOIPSIPAGENTCONFIG, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG)
RESTORE_LATER(rm_voip_sip_user, SRMVOIPSIPUSERDATA, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA)
RESTORE_LATER(rm_macfilter_mode, SRMMACFMODE, OV_HAL_MSG_GPON_RM_MAC_FLT)
RESTORE_LATER(rm_macfilter_static, SRMMACFS, OV_HAL_MSG_GPON_RM_MAC_FLT)
RESTORE_LATER(rm_macfilter_dynamic, SRMMACFD, OV_HAL_MSG_GPON_RM_MAC_FLT)
RESTORE_LATER(rm_uni_poe, SRMUNIPOE, OV_HAL_MSG_GPON_RM_UNI_POE)
RESTORE_LATER(rm_onu_poe, SRMONUPOE, OV_HAL_MSG_GPON_RM_ONU_POE)

// TODO: maps of the optical thresholds, ov_pon_ponthreshold_table_attr_mask_get and
// ov_rmonu_opt_ponthreshold_table_attr_mask_get.
RESTORE_LATER(pon_threshold, SPONTHRESHOLD, OV_HAL_MSG_GPON_PON_MODULE_THRESHOLD)
RESTORE_LATER(rm_onu_threshold, SRMONUTHRESHOLD, OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD)

RESTORE_LATER(onuqos, SONUQOS, OV_HAL_MSG_GPON_ONU_QOS) // TODO: map of record 921

// Those of service profiles.
RESTORE_TEMPLATES_LATER(iphost, SRMIPHOST, OV_HAL_MSG_GPON_RMONU_IPHOST)
RESTORE_TEMPLATES_LATER(rmservice, SRMSERVICE, OV_HAL_MSG_GPON_RM_SERVICE)
RESTORE_TEMPLATES_LATER(rmunivlan, SRMUNIVLAN, OV_HAL_MSG_GPON_RM_UNI_VLAN)
RESTORE_TEMPLATES_LATER(wan, SRMWAN, OV_HAL_MSG_GPON_RM_WAN)
RESTORE_TEMPLATES_LATER(wifi, SRMWIFI, OV_HAL_MSG_GPON_RM_WIFI)
RESTORE_TEMPLATES_LATER(voip_cfg, SRMVOIPCONFIGDATA, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA)
RESTORE_TEMPLATES_LATER(voip_sip_agent, SRMVOIPSIPAGENTCONFIG, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG)
RESTORE_TEMPLATES_LATER(uni_poe, SRMUNIPOE, OV_HAL_MSG_GPON_RM_UNI_POE)
RESTORE_TEMPLATES_LATER(onu_poe, SRMONUPOE, OV_HAL_MSG_GPON_RM_ONU_POE)
RESTORE_TEMPLATES_LATER(onuqos, SONUQOS, OV_HAL_MSG_GPON_ONU_QOS)

namespace {

namespace onu_qos {
namespace column = onuQosTable_column;
constexpr MapLine LINES[] = {
    MASK_ONLY(onuQosMaxBw, OV_GPON_ONU_QOS_ATTR_INDEX_maxBw),
    MASK_ONLY(onuQosMinBw, OV_GPON_ONU_QOS_ATTR_INDEX_minBw),
};
constexpr MessageMap<ov_onuQosTable_attr_t, ov_gpon_onu_qos_attr_t> map(LINES);
} // namespace onu_qos

// Mode and weights go together.
namespace queue_schedule {
namespace column = sRmOnuQosPriorityQueueScheduleTable_column;
constexpr MapLine LINES[] = {
    MASK_ONLY(sRmQueueScheduleMode, OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_QOSMODE).replayed(MapReplay::NOT_ZERO),
    MASK_ONLY(sRmQueueScheduleMode, OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_WEIGHT).replayed(MapReplay::NOT_ZERO),
};
constexpr MessageMap<ov_sRmOnuQosPriorityQueueScheduleTable_attr_t, ov_gpon_onu_queue_schedule_attr_t>
    map(LINES);
} // namespace queue_schedule

} // namespace

ov_bmp_t ov_onu_qos_table_attr_mask_get(const void* row) {
    return onu_qos::map.replay_mask(row);
}

ov_bmp_t ov_rm_queue_schedule_attr_mask_get(const void* row) {
    return queue_schedule::map.replay_mask(row);
}
