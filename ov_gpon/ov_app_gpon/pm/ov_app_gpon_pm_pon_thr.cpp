// Threshold profiles of the counters in ponPmTable.
#include "ov_app_gpon_pm_thr.h"

#include "app_key.h"
#include "ov_app_gpon_pm_ini.h"
#include "ov_app_gpon_pm_pon.h"
#include "pm_thr_family.h"

namespace {

using Profile = ov_ponPmThrTable_attr_t;
using Counters = ov_ponPmTable_attr_t;

int appid = 0;

// Alarms name the port above the one that counts; managers know them so.
ov_ifindex_t source_of(const void* row) {
    const Counters& port = *static_cast<const Counters*>(row);
    return ov_ifindex_gen_by_phyinfo(PORT_TYPE_GPON, static_cast<uint8_t>(port.shelfID),
                                     static_cast<uint8_t>(port.slotID), 0,
                                     static_cast<uint16_t>(port.portID + 1), 0);
}

} // namespace

constinit const PmThrFamily PON_PM_THR = {
    .module = &table_of<Profile>::module,
    .appid = &appid,
    .counters = &PON_PM,
    .last_bit = 33,
    .code_of_bit = 6,
    .source = source_of,
    .add_failure = "mib add error for pm_pon_threshold table",
    .set_failure = "mib set error for pm_pon_threshold table",
    .del_failure = "mib del error for pm_pon_threshold table",
};

int ov_app_gpon_pm_pon_thr_add(Profile* attr, MIB_Flags_t* flag) {
    return pm_thr_add(PON_PM_THR, attr, flag);
}
int ov_app_gpon_pm_pon_thr_edit(Profile* attr, MIB_Flags_t* flag) {
    return pm_thr_edit(PON_PM_THR, attr, flag);
}
int ov_app_gpon_pm_pon_thr_del(Profile* attr) {
    return pm_thr_del(PON_PM_THR, attr);
}

int check_alarm_for_pon_pm(Counters* ponpm) {
    return pm_thr_check(PON_PM_THR, ponpm);
}

void ov_app_gpon_pm_pon_thr_init() {
    ov_app_gpon_pm_ini_init(); // which comes behind in the list
    Profile profile = {};
    get_ponpm_thr_default(&profile);
    pm_thr_init(PON_PM_THR, &profile);
}
