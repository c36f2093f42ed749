// Which tables changed since the flags were last cleared.
#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>

#include "mmg_access_internal.h"

table_change_flag_t global_change_flag;

namespace {

void clear_all() {
    global_change_flag.global_flag = 0;
    std::fill(std::begin(global_change_flag.table_flag), std::end(global_change_flag.table_flag), 0);
}

// Any thread may be the first that needs it.
std::atomic_ref<ovra_mutex_t*> shared_mutex() {
    return std::atomic_ref(global_change_flag.pmutex);
}

ovra_mutex_t* flag_mutex() {
    if (ovra_mutex_t* mutex = shared_mutex().load())
        return mutex;
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    if (shared_mutex().load() == nullptr) {
        clear_all();
        shared_mutex().store(AssignMutex());
    }
    return shared_mutex().load();
}

// The place of a table's flag, null for a table that has none.
char* flag_of(int index) {
    return mib_control_at(index) == nullptr ? nullptr : &global_change_flag.table_flag[index];
}

} // namespace

void MIibChangedFlagInit() {
    if (flag_mutex() != nullptr)
        MibChangedFlagClear();
}

void MibChangedFlagSet(MIBDID did) {
    const MIBDid_t table = mmg_table_did_read(did);
    char* flag = flag_of(table.index);
    if (flag == nullptr || table.if_trigger_save == 0)
        return;
    OvraMutexGuard lock(flag_mutex());
    *flag = 1;
    global_change_flag.global_flag = 1;
}

void MibChangedOneFlagClear(MIBDID did) {
    char* flag = flag_of(mmg_table_index(did));
    if (flag == nullptr)
        return;
    OvraMutexGuard lock(flag_mutex());
    *flag = 0;
    // The last index of the registry doesn't count: no table has it.
    const char* begin = global_change_flag.table_flag;
    if (std::all_of(begin, begin + TABLE_INDEX_MAX, [](char set) { return set == 0; }))
        global_change_flag.global_flag = 0;
}

void MibChangedFlagClear() {
    OvraMutexGuard lock(shared_mutex().load());
    clear_all();
}

char MibChangedTableFlagGet(MIBDID did) {
    const char* flag = flag_of(mmg_table_index(did));
    if (flag == nullptr)
        return 0;
    OvraMutexGuard lock(flag_mutex());
    return *flag;
}

char MibChangedGlobalFlagGet() {
    OvraMutexGuard lock(flag_mutex());
    return global_change_flag.global_flag;
}
