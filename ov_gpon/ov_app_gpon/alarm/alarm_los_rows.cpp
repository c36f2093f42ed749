#include "alarm_los_rows.h"

#include <cstdlib>

#include "mmg_internal.h"

namespace {

MIBDID alarm_did() {
    return mmg_table_did_getbyindex(SACTIVEALARM);
}

bool lights_the_led(int32_t code) {
    return code == SACTIVEALARMTABLEALARMCODE_OLT_PON_LOS || code == SACTIVEALARMTABLEALARMCODE_OLT_ETH_LOS;
}

bool is_delete(int type) {
    return type >= MIB_DEL && type <= MIB_DEL_S_N;
}

// By how many rows the table grows when an access with this row status succeeds.
int growth_of(int type, int32_t status) {
    if (is_delete(type))
        return -1;
    return status == OVRA_CREATEANDGO ? 1 : 0;
}

} // namespace

char AlarmLosRows::access(int type, int appid, sActiveAlarmTable_entry& row, MIB_Flags_t flags) {
    const OvraMutexGuard lock(getMutex(alarm_did()));
    const int32_t status = row.sActiveAlarmTableRowStatus; // the access writes to it
    const int rows = get_row_num(alarm_did());
    const unsigned changes = get_row_changes(alarm_did());
    const char result = MibAccessHandle(type, appid, alarm_did(), &row, flags, 0);
    note_access(result, type, row, status, rows, changes);
    return result;
}

// Takes the access into the count, if it did what it should and nothing else.
void AlarmLosRows::note_access(char result, int type, const sActiveAlarmTable_entry& row, int32_t status,
                               int rows_before, unsigned changes_before) {
    if (!is_known_ || changes_before != changes_)
        return;
    const int growth = result == MIB_OK ? growth_of(type, status) : 0;
    const unsigned changes = get_row_changes(alarm_did());
    if (get_row_num(alarm_did()) - rows_before != growth ||
        changes - changes_before != static_cast<unsigned>(std::abs(growth)))
        return;
    changes_ = changes;
    if (lights_the_led(row.sActiveAlarmTableAlarmCode))
        rows_ += growth;
}

bool AlarmLosRows::any() {
    const OvraMutexGuard lock(getMutex(alarm_did()));
    if (!is_known_ || changes_ != get_row_changes(alarm_did()))
        count();
    return rows_ > 0;
}

void AlarmLosRows::count() {
    sActiveAlarmTable_entry row{};
    rows_ = 0;
    for (char found = MibAccessHandle(MIB_GETFIRST, 0, alarm_did(), &row, mibDefFlags, 0); found == MIB_OK;
         found = MibAccessHandle(MIB_GETNEXT, 0, alarm_did(), &row, mibDefFlags, 0))
        rows_ += lights_the_led(row.sActiveAlarmTableAlarmCode) ? 1 : 0;
    changes_ = get_row_changes(alarm_did());
    is_known_ = true;
}
