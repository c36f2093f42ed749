// Modules of what stands behind an ONU that aren't there yet. They stand in their place in the start-up list
// and do nothing.
#include "ov_app_gpon_rm_iphost.h"
#include "ov_app_gpon_rm_mac_filter.h"
#include "ov_app_gpon_rm_queue_schedule.h"
#include "ov_app_gpon_rm_sip_agent_config_data.h"
#include "ov_app_gpon_rm_sip_user_data.h"
#include "ov_app_gpon_rm_tr069_mgmt.h"
#include "ov_app_gpon_rm_voip_config_data.h"
#include "ov_app_gpon_rm_voip_line_status.h"
#include "ov_app_gpon_rmcapa.h"
#include "ov_app_gpon_rminfo.h"
#include "ov_app_gpon_rmmulticast.h"
#include "ov_app_gpon_rmonu_opt_threshold.h"
#include "ov_app_gpon_rmonupoe.h"
#include "ov_app_gpon_rmservice.h"
#include "ov_app_gpon_rmunipm.h"
#include "ov_app_gpon_rmunipoe.h"
#include "ov_app_gpon_rmunistatus.h"
#include "ov_app_gpon_rmunivlan.h"
#include "ov_app_gpon_rmwan.h"
#include "ov_app_gpon_rmwifi.h"

void ov_app_gpon_rminfo_init() {
    // TODO: callbacks of sRmInfoTable
}
void ov_app_gpon_rmcapa_init() {
    // TODO: callbacks of sRmOnuCapaTable
}
void ov_app_gpon_rmunistatus_init() {
    // TODO: callbacks of sRmUniStatusTable
}
void ov_app_gpon_rmunivlan_init() {
    // TODO: callbacks of sRmUniVlanTable
}
void ov_app_gpon_rmunipm_init() {
    // TODO: callbacks and task of sRmUniPmTable
}
void ov_app_gpon_rmunipm_task_init() {
    // TODO: callbacks and task of sRmUniPmTable
}
void ov_app_gpon_rmunipoe_init() {
    // TODO: callbacks of sRmUniPoeTable
}
void ov_app_gpon_rmonupoe_init() {
    // TODO: callbacks of sRmOnuPoeTable
}
void ov_app_gpon_rmonu_opt_threshold_init() {
    // TODO: callbacks of sRmOnuOptThresholdTable
}
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
