// Initialisers of application modules that don't exist yet: they stand in their place in the start-up list
// and do nothing. A module that lands takes its line out of here.
#include "app_modules.h"

#include "ov_app_gpon_qos.h"
// TODO: the application modules: application ids, callbacks and timers of all these.
void ov_app_uplink_pm_action_init() {}
void ov_app_gpon_pon_optic_init() {}
void ov_app_gpon_pon_protect_init() {}
void ov_app_gpon_pon_threshold_init() {}
void ov_app_gpon_pon_onu_update_init() {}
void ov_app_gpon_rmunivlan_init() {}
void ov_app_gpon_rm_sip_user_data_init() {}
void ov_app_gpon_rm_voip_conig_data_init() {}
void ov_app_gpon_rm_queue_schedule_init() {}
void ov_app_gpon_rm_tr069_mgmt_init() {}
void ov_app_gpon_rmmulticast_init() {}
void ov_app_gpon_rmunipm_init() {}
void ov_app_gpon_rmunipm_task_init() {}
void ov_app_gpon_rmunistatus_init() {}
void ov_app_gpon_rmunipoe_init() {}
void ov_app_gpon_rmonupoe_init() {}
void ov_app_gpon_rm_voip_line_status_init() {}
void ov_app_gpon_onu_update_status_init() {}
void ov_app_gpon_rminfo_init() {}
void ov_app_gpon_stat_onu_init() {}
void ov_app_gpon_rmcapa_init() {}
void ov_app_gpon_rmonu_opt_threshold_init() {}
void ov_app_gpon_pm_pon_init() {}
void ov_app_gpon_pm_ui_init() {}
void ov_app_gpon_pm_pon_nni_init() {}
void ov_app_gpon_qos_init() {
    ov_app_service_port_qos_init();
}
void ov_app_gpon_pm_onu_init() {}
void ov_app_gpon_qinq_init() {}
void ov_app_gpon_pm_gem_init() {}
void ov_app_gpon_rm_iphost_init() {}
void ov_app_gpon_rmservice_init() {}
void ov_app_gpon_rm_mac_filter_mode_init() {}
void ov_app_gpon_rm_mac_filter_dyn_init() {}
void ov_app_gpon_rm_mac_filter_static_init() {}
void ov_app_gpon_rm_sip_agent_config_data_init() {}
void ov_app_gpon_rmwan_init() {}
void ov_app_gpon_rmwifi_init() {}
void ov_app_gpon_pm_pon_thr_init() {}
void ov_app_gpon_pm_onu_thr_init() {}
void ov_app_gpon_pm_gem_thr_init() {}
void ov_app_gpon_pm_tca_alm_init() {}
void ov_app_gpon_onu_rssi_init() {}
void ov_app_gpon_action_init() {}
void ov_app_gpon_pm_ini_init() {}
