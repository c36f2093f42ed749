// Which tables changed since the flags were last cleared.
#include <algorithm>
#include <iterator>

#include "mmg_access_internal.h"

table_change_flag_t global_change_flag;

namespace {

void clear_all() {
    global_change_flag.global_flag = 0;
    std::fill(std::begin(global_change_flag.table_flag), std::end(global_change_flag.table_flag), 0);
}

ovra_mutex_t* flag_mutex() {
    if (global_change_flag.pmutex == nullptr)
        MIibChangedFlagInit();
    return global_change_flag.pmutex;
}

} // namespace

void MIibChangedFlagInit() {
    if (global_change_flag.pmutex == nullptr)
        global_change_flag.pmutex = AssignMutex();
    clear_all();
}

void MibChangedFlagSet(MIBDID did) {
    if (mib_control_of(did) == nullptr || did->if_trigger_save == 0)
        return;
    OvraMutexGuard lock(flag_mutex());
    global_change_flag.table_flag[did->index] = 1;
    global_change_flag.global_flag = 1;
}

void MibChangedOneFlagClear(MIBDID did) {
    if (mib_control_of(did) == nullptr)
        return;
    OvraMutexGuard lock(flag_mutex());
    global_change_flag.table_flag[did->index] = 0;
    // The last index of the registry doesn't count: no table has it.
    const char* begin = global_change_flag.table_flag;
    if (std::all_of(begin, begin + TABLE_INDEX_MAX, [](char flag) { return flag == 0; }))
        global_change_flag.global_flag = 0;
}

void MibChangedFlagClear() {
    OvraMutexGuard lock(global_change_flag.pmutex);
    clear_all();
}

char MibChangedTableFlagGet(MIBDID did) {
    if (mib_control_of(did) == nullptr)
        return 0;
    OvraMutexGuard lock(flag_mutex());
    return global_change_flag.table_flag[did->index];
}

char MibChangedGlobalFlagGet() {
    OvraMutexGuard lock(flag_mutex());
    return global_change_flag.global_flag;
}
