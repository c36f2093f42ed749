// Modules of performance monitoring that aren't there yet: each answers as it would without a row to change.
#include "ov_app_gpon_pm_gem.h"
#include "ov_app_gpon_pm_ini.h"
#include "ov_app_gpon_pm_onu.h"
#include "ov_app_gpon_pm_pon.h"
#include "ov_app_gpon_pm_pon_nni.h"
#include "ov_app_gpon_pm_thr.h"
#include "ov_app_gpon_pm_ui.h"
#include "ov_app_gpon_stat_onu.h"
#include "ov_app_uplink_pm_action.h"
#include "ov_types.h"

void ov_app_gpon_pm_pon_init() {
    // TODO: callbacks and collection of ponPmTable
}
void ov_app_gpon_pm_ui_init() {
    // TODO: callbacks and collection of uplinkPmTable
}
void ov_app_gpon_pm_pon_nni_init() {
    // TODO: callbacks and collection of ponnniPmTable
}
void ov_app_gpon_pm_onu_init() {
    // TODO: callbacks and collection of onuPmTable
}
void ov_app_gpon_pm_pon_thr_init() {
    // TODO: callbacks and default row of ponPmThrTable
}
void ov_app_gpon_pm_onu_thr_init() {
    // TODO: callbacks and default row of onuPmThrTable
}
void ov_app_gpon_pm_gem_thr_init() {
    // TODO: callbacks and default row of gemPmThrTable
}
void ov_app_gpon_pm_tca_alm_init() {
    // TODO: callbacks of tcaAlarmTable
}
void ov_app_gpon_pm_ini_init() {
    // TODO: the settings file
}
void ov_app_gpon_stat_onu_init() {
    // TODO: callbacks of onuStatTable
}
void ov_app_gpon_pm_gem_init() {
    // TODO: callbacks and collection of gemPmTable
}
void ov_app_uplink_pm_action_init() {
    // TODO: callbacks of uplinkPmActTable
}

int ov_app_gpon_pm_gem_edit(ov_sGemTable_attr_t* /*attr*/, MIB_Flags_t /*column_flag*/, char /*isAdd*/) {
    // TODO: the GEM port's row of the performance table; there is no performance collection yet.
    return OV_GPON_RET_OK;
}

int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* /*attr*/, MIB_Flags_t* /*flag*/) {
    // TODO: row status 4, bits 1 and 2, then MIB_SET_S; there are no uplink performance records yet.
    return OV_GPON_RET_OK;
}

int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* /*attr*/) {
    // TODO: MIB_DEL; there are no uplink performance records yet, and so nothing to take out.
    return OV_GPON_RET_OK;
}
