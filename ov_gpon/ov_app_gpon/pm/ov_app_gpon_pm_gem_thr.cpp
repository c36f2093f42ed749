// Threshold profiles of the counters in gemPmTable.
#include "ov_app_gpon_pm_thr.h"

#include "app_key.h"
#include "ov_app_gpon_pm_gem.h"
#include "ov_app_gpon_pm_ini.h"
#include "pm_thr_family.h"

namespace {

using Profile = ov_gemPmThrTable_attr_t;
using Counters = ov_gemPmTable_attr_t;

int appid = 0;

ov_ifindex_t source_of(const void* row) {
    const Counters& gem = *static_cast<const Counters*>(row);
    return gemport_ifindex(gem, gem.gemID);
}

} // namespace

constinit const PmThrFamily GEM_PM_THR = {
    .module = &table_of<Profile>::module,
    .appid = &appid,
    .counters = &GEM_PM,
    .last_bit = 7,
    .code_of_bit = 196,
    .source = source_of,
    .add_failure = "mib add error for pm_gem_threshold table",
    .set_failure = "mib set error for pm_gem_threshold table",
    .del_failure = "mib del error for pm_gem_threshold table",
};

int ov_app_gpon_pm_gem_thr_add(Profile* attr, MIB_Flags_t* flag) {
    return pm_thr_add(GEM_PM_THR, attr, flag);
}
int ov_app_gpon_pm_gem_thr_edit(Profile* attr, MIB_Flags_t* flag) {
    return pm_thr_edit(GEM_PM_THR, attr, flag);
}
int ov_app_gpon_pm_gem_thr_del(Profile* attr) {
    return pm_thr_del(GEM_PM_THR, attr);
}

int check_alarm_for_gem_pm(Counters* gempm) {
    return pm_thr_check(GEM_PM_THR, gempm);
}

void ov_app_gpon_pm_gem_thr_init() {
    ov_app_gpon_pm_ini_init(); // which comes behind in the list
    Profile profile = {};
    get_gempm_thr_default(&profile);
    pm_thr_init(GEM_PM_THR, &profile);
}
