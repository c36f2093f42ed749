// How many rows of sActiveAlarmTable light the fault LED: those with a loss of signal at an OLT port.
//
// The LED is looked at again behind each row that the tick makes or deletes. Thousands may expire in one
// tick, so the rows are counted once and then kept count of: the alarm module makes its accesses through this
// object, which notes what each one did. A row that comes or goes in any other way (a manager's request, a
// load) shows in the table's number of changes; then the next look counts again.
//
// All functions take the table's mutex; event loop's thread.
#pragma once

#include "mmg_access.h"
#include "sActiveAlarmTable.h"

class AlarmLosRows {
public:
    // MibAccessHandle for the active alarm table. The row status in `row` must be createAndGo when the row is
    // to be made.
    char access(int type, int appid, sActiveAlarmTable_entry& row, MIB_Flags_t flags);

    // Whether a row of OLT_PON_LOS or OLT_ETH_LOS stands in the table.
    bool any();

    // Counts again at the next look.
    void forget() { is_known_ = false; }

private:
    void note_access(char result, int type, const sActiveAlarmTable_entry& row, int32_t status,
                     int rows_before, unsigned changes_before);
    void count();

    bool is_known_ = false; // the count was right when the table's number of changes was changes_
    unsigned changes_ = 0;
    int rows_ = 0;
};
