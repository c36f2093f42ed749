#include "ov_app_gpon_pm_tca_alm.h"

#include "app_rows.h"
#include "ov_clock.h"

namespace {

using Alarm = ov_tcaAlarmTable_attr_t;

int appid = 0;

} // namespace

void gen_tca_alm(ov_ifindex_t index, int almcode, int almstate) {
    Alarm alarm = {};
    alarm.tcaAlarmSource = index;
    alarm.tcaAlarmCode = almcode;
    const bool stands = find_stored_row(alarm) != nullptr;
    if (almstate == TCAALARMSTATE_CLEAR && stands)
        mib_access(MIB_DEL, alarm, mibDefFlags, appid);
    if (almstate != TCAALARMSTATE_SET || stands)
        return;
    alarm.tcaAlarmSeverity = TCAALARMSEVERITY_MINOR;
    alarm.tcaAlarmDTS = static_cast<mib_ulong>(ov_wall_time());
    alarm.tcaAlarmState = TCAALARMSTATE_SET;
    alarm.tcaAlarmRowStatus = OVRA_CREATEANDGO;
    mib_access(MIB_SET, alarm, mibDefFlags, appid);
}

void ov_app_gpon_pm_tca_alm_init() {
    appid = AssignAppId();
}
