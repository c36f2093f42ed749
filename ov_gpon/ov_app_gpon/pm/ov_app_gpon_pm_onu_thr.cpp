// Threshold profiles of the counters in onuPmTable.
#include "ov_app_gpon_pm_thr.h"

#include "app_key.h"
#include "ov_app_gpon_pm_ini.h"
#include "ov_app_gpon_pm_onu.h"
#include "pm_thr_family.h"

namespace {

using Profile = ov_onuPmThrTable_attr_t;
using Counters = ov_onuPmTable_attr_t;

int appid = 0;

ov_ifindex_t source_of(const void* row) {
    return onu_ifindex_of(*static_cast<const Counters*>(row));
}

} // namespace

constinit const PmThrFamily ONU_PM_THR = {
    .module = &table_of<Profile>::module,
    .appid = &appid,
    .counters = &ONU_PM,
    .last_bit = 18,
    .code_of_bit = 96,
    .source = source_of,
    .add_failure = "mib add error for pm_onu_threshold table",
    .set_failure = "mib set error for pm_onu_threshold table",
    .del_failure = "mib del error for pm_onu_threshold table",
};

int ov_app_gpon_pm_onu_thr_add(Profile* attr, MIB_Flags_t* flag) {
    return pm_thr_add(ONU_PM_THR, attr, flag);
}
int ov_app_gpon_pm_onu_thr_edit(Profile* attr, MIB_Flags_t* flag) {
    return pm_thr_edit(ONU_PM_THR, attr, flag);
}
int ov_app_gpon_pm_onu_thr_del(Profile* attr) {
    return pm_thr_del(ONU_PM_THR, attr);
}

int check_alarm_for_onu_pm(Counters* onupm) {
    return pm_thr_check(ONU_PM_THR, onupm);
}

void ov_app_gpon_pm_onu_thr_init() {
    ov_app_gpon_pm_ini_init(); // which comes behind in the list
    Profile profile = {};
    get_onupm_thr_default(&profile);
    pm_thr_init(ONU_PM_THR, &profile);
}
