// Modules of what stands behind an ONU that aren't there yet. They stand in their place in the start-up list
// and do nothing.
#include "app_restore_line.h"
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_queue_schedule.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rm_voip_line_status.h"
#include "ov_app_gpon_rmonu_opt_threshold.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"
#include "ov_types.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"

void ov_app_gpon_rmunipoe_init() {
    // TODO: callbacks of sRmUniPoeTable
}
void ov_app_gpon_rmonupoe_init() {
    // TODO: callbacks of sRmOnuPoeTable
}
void ov_app_gpon_rmonu_opt_threshold_init() {
    // TODO: callbacks of sRmOnuOptThresholdTable
}
void ov_app_gpon_rm_iphost_init() {
    // TODO: callbacks of sRmIPHostTable
}
void ov_app_gpon_rm_tr069_mgmt_init() {
    // TODO: callbacks of sRmTr069MgmtTable
}
void ov_app_gpon_rm_queue_schedule_init() {
    // TODO: callbacks of sRmOnuQosPriorityQueueScheduleTable
}
void ov_app_gpon_rm_voip_conig_data_init() {
    // TODO: callbacks of sRmVoipConfigDataTable
}
void ov_app_gpon_rm_voip_line_status_init() {
    // TODO: callbacks of sRmVoipLineStatusTable
}
void ov_app_gpon_rm_sip_agent_config_data_init() {
    // TODO: callbacks of sRmVoipSipAgentConfigTable
}
void ov_app_gpon_rm_sip_user_data_init() {
    // TODO: callbacks of sRmVoipSipUserDataTable
}
void ov_app_gpon_rmwan_init() {
    // TODO: callbacks of sRmWanTable
}
void ov_app_gpon_rmwifi_init() {
    // TODO: callbacks of sRmWifiTable
}

// Their doors.
// TODO: the writes of these tables; until then each is refused.
int ov_app_gpon_rm_iphost_add(ov_sRmIPHostTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_iphost_edit(ov_sRmIPHostTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_iphost_del(ov_sRmIPHostTable_attr_t* /*attr*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_iphost_hal_get(ov_sRmIPHostTable_attr_t* /*row*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_tr069_mgmt_edit(ov_sRmTr069MgmtTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_queue_schedule_edit(ov_sRmOnuQosPriorityQueueScheduleTable_attr_t* /*attr*/,
                                       MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_voip_config_data_edit(ov_sRmVoipConfigDataTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_sip_agent_config_data_add(ov_sRmVoipSipAgentConfigTable_attr_t* /*attr*/,
                                             MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_sip_agent_config_data_edit(ov_sRmVoipSipAgentConfigTable_attr_t* /*attr*/,
                                              MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_sip_agent_config_data_delete(ov_sRmVoipSipAgentConfigTable_attr_t* /*attr*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_sip_user_data_edit(ov_sRmVoipSipUserDataTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_wan_add(ov_sRmWanTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/, int /*is_need_check*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_wan_edit(ov_sRmWanTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_wan_del(ov_sRmWanTable_attr_t* /*attr*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_wifi_add(ov_sRmWifiTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/, int /*is_need_check*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_wifi_edit(ov_sRmWifiTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rm_wifi_del(ov_sRmWifiTable_attr_t* /*attr*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rmunipoe_edit(ov_sRmUniPoeTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rmonupoe_edit(ov_sRmOnuPoeTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}
int ov_app_gpon_rmonu_opt_threshold_edit(ov_sRmOnuOptThresholdTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    return OV_GPON_RET_BAD_PARAM;
}

// A replay to a card brings nothing of their tables.
// TODO: maps of the remote management of ONUs. Those that are set: rm_tr069,
// rm_queue_schedule, rm_voip_cfg, rm_voip_sip_user,
// rm_uni_poe, rm_onu_poe, with
// ov_rm_tr069_mgmt_table_attr_mask_get,
// ov_rm_voip_config_data_table_attr_mask_get, ov_rm_voip_sip_user_data_table_attr_mask_get,
// ov_rmuni_poe_table_attr_mask_get, ov_rmonu_poe_table_attr_mask_get: the replay masks of their maps.
RESTORE_LATER(rm_iphost, SRMIPHOST, OV_HAL_MSG_GPON_RMONU_IPHOST)
RESTORE_LATER(rm_tr069, SRMTR069MGMT, OV_HAL_MSG_GPON_RMONU_TR069_SRV)
RESTORE_LATER(rm_queue_schedule, SRMQUEUESCHEDULE, OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE)
RESTORE_LATER(rm_wan, SRMWAN, OV_HAL_MSG_GPON_RM_WAN)
RESTORE_LATER(rm_wifi, SRMWIFI, OV_HAL_MSG_GPON_RM_WIFI)
RESTORE_LATER(rm_voip_cfg, SRMVOIPCONFIGDATA, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA)
RESTORE_LATER(rm_voip_sip_agent, SRMVOIPSIPAGENTCONFIG, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG)
RESTORE_LATER(rm_voip_sip_user, SRMVOIPSIPUSERDATA, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA)
RESTORE_LATER(rm_uni_poe, SRMUNIPOE, OV_HAL_MSG_GPON_RM_UNI_POE)
RESTORE_LATER(rm_onu_poe, SRMONUPOE, OV_HAL_MSG_GPON_RM_ONU_POE)

RESTORE_LATER(
    rm_onu_threshold, SRMONUTHRESHOLD,
    OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD) // TODO: its map, ov_rmonu_opt_ponthreshold_table_attr_mask_get

// Those of service profiles.
RESTORE_TEMPLATES_LATER(iphost, SRMIPHOST, OV_HAL_MSG_GPON_RMONU_IPHOST)
RESTORE_TEMPLATES_LATER(wan, SRMWAN, OV_HAL_MSG_GPON_RM_WAN)
RESTORE_TEMPLATES_LATER(wifi, SRMWIFI, OV_HAL_MSG_GPON_RM_WIFI)
RESTORE_TEMPLATES_LATER(voip_cfg, SRMVOIPCONFIGDATA, OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA)
RESTORE_TEMPLATES_LATER(voip_sip_agent, SRMVOIPSIPAGENTCONFIG, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG)
RESTORE_TEMPLATES_LATER(uni_poe, SRMUNIPOE, OV_HAL_MSG_GPON_RM_UNI_POE)
RESTORE_TEMPLATES_LATER(onu_poe, SRMONUPOE, OV_HAL_MSG_GPON_RM_ONU_POE)

namespace {

// Mode and weights go together.
namespace queue_schedule {
namespace column = sRmOnuQosPriorityQueueScheduleTable_column;
constexpr MapLine LINES[] = {
    MASK_ONLY(sRmQueueScheduleMode, OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_QOSMODE).replayed(MapReplay::NOT_ZERO),
    MASK_ONLY(sRmQueueScheduleMode, OV_GPON_ONU_QUEUE_SCHEDULE_INDEX_WEIGHT).replayed(MapReplay::NOT_ZERO),
};
constexpr MessageMap<ov_sRmOnuQosPriorityQueueScheduleTable_attr_t, ov_gpon_onu_queue_schedule_attr_t>
    COLUMNS(LINES);
} // namespace queue_schedule

} // namespace

ov_bmp_t ov_rm_queue_schedule_attr_mask_get(const void* row) {
    return queue_schedule::COLUMNS.replay_mask(row);
}
