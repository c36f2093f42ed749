#include "ov_app_gpon_wn_trap.h"

#include "app_text.h"
#include "mmg_access.h"
#include "ov_app_gpon_alarm_task.h"
#include "ov_app_gpon_onu_note.h"
#include "ov_local_time.h"

int gpon_wn_trap_appid = 0;

void ov_app_gpon_wn_trap_init() {
    gpon_wn_trap_appid = AssignAppId();
}

void ov_wn_trap_hal_data_convert_to_mib(sActiveAlarmTable_entry* mib, const ov_gpon_wanning_trap_t* hal) {
    if (mib == nullptr || hal == nullptr)
        return;
    mib->sActiveAlarmTableAlarmSource = hal->AlarmTableAlarmSource;
    mib->sActiveAlarmTableAlarmCode = hal->AlarmTableAlarmCode;
    mib->sActiveAlarmTableAlarmSourceType = hal->AlarmTableAlarmSourceType;
    set_text(mib->sActiveAlarmTableSystemType, text_in(hal->AlarmTableSystemType));
    mib->sActiveAlarmTableAlarmSeverity = hal->AlarmTableAlarmSeverity;
    mib->sActiveAlarmTableAlarmType = hal->AlarmTableAlarmType;
    set_text(mib->sActiveAlarmTableAlarmProbableCause, text_in(hal->AlarmTableAlarmProbableCause));
    mib->sActiveAlarmTableAlarmState = hal->AlarmTableAlarmState;
    mib->sActiveAlarmTableAlarmDTS = get_local_time();
}

int ov_app_gpon_wn_trap_set_by_lowlayer(const ov_gpon_wanning_trap_t* attr) {
    if (attr == nullptr)
        return 0;
    sActiveAlarmTable_entry row{};
    ov_wn_trap_hal_data_convert_to_mib(&row, attr);
    ov_app_gpon_onu_note_alarm(row);
    ov_app_gpon_alarm_eventhandle(&row);
    return 0;
}
