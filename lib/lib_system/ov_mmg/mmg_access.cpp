#include "mmg_access.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <initializer_list>

#include "mmg_access_internal.h"
#include "mmg_refusal.h"

namespace {

// The last index that MibAccessHandle admits.
constexpr int LAST_INDEX = MIB_TABLE_SLOTS - 1;

std::atomic<unsigned> g_access_count{0}; // only for debug lines

// What an operation code stands for.
struct Operation {
    int hook_type; // code that the module's hooks see; 0: not served
    bool get_chain;
    bool check_chain;
    bool set_chain;
    bool is_write;
};

constexpr int OPERATIONS = MIB_LOCAL_GETNEXT + 1;

constexpr std::array<Operation, OPERATIONS> make_operations() {
    std::array<Operation, OPERATIONS> table{};
    for (int base : {MIB_GET, MIB_GET_FUZZY, MIB_GETFIRST, MIB_GETNEXT}) {
        table[static_cast<size_t>(base)] = {base, true, false, false, false};
        table[static_cast<size_t>(base) + 1] = {base, false, false, false, false};
    }
    for (int base : {MIB_CREATEGO, MIB_CREATEWAIT, MIB_SET, MIB_DEL}) {
        table[static_cast<size_t>(base)] = {base, false, true, true, true};
        table[static_cast<size_t>(base) + 1] = {base, false, true, false, true};
        table[static_cast<size_t>(base) + 2] = {base, false, false, true, true};
        table[static_cast<size_t>(base) + 3] = {base, false, false, false, true};
    }
    return table;
}

constexpr std::array<Operation, OPERATIONS> OPERATION_TABLE = make_operations();

// Holds a table's mutex for a scope.
class TableLock {
public:
    TableLock(ovra_mutex_t* mutex, int access) : mutex_(mutex), access_(access) {
        MMG_INFO_LOG("Ovra_MutexLock[%d]!", access_);
        int ret = Ovra_MutexLock(mutex_);
        MMG_INFO_LOG("ret = %d [%d]", ret, access_);
    }
    ~TableLock() {
        MMG_INFO_LOG("Ovra_MutexUnlock[%d]!", access_);
        int ret = Ovra_MutexUnlock(mutex_);
        MMG_INFO_LOG("ret = %d [%d]!", ret, access_);
    }
    TableLock(const TableLock&) = delete;
    TableLock& operator=(const TableLock&) = delete;

private:
    ovra_mutex_t* mutex_;
    int access_;
};

// The chains of one operation, in their order; stops at the first that fails.
char run_chains(const Operation& operation, int index, MIBDID did, void* row, MIB_Flags_t flags) {
    char result = MIB_OK;
    if (operation.get_chain)
        result = mib_run_chain(index, did, CALLBACK_GET, row, flags);
    if (operation.check_chain)
        result = mib_run_chain(index, did, CALLBACK_CHECK, row, flags);
    if (operation.set_chain && result == MIB_OK)
        result = mib_run_chain(index, did, CALLBACK_SET, row, flags);
    return result;
}

bool is_write(int type) {
    return type >= 0 && type < OPERATIONS && OPERATION_TABLE[static_cast<size_t>(type)].is_write;
}

char run_operation(int type, int index, MIBDID did, void* row, MIB_Flags_t flags) {
    if (type < 0 || type >= OPERATIONS)
        return MIB_FAIL;
    const Operation& operation = OPERATION_TABLE[static_cast<size_t>(type)];
    MibHandler* handler = table_cntl[index].dataOper;
    if (operation.hook_type == 0 || handler->mibAccessStart == nullptr)
        return MIB_FAIL;
    if (handler->mibAccessStart(handler, operation.hook_type, row, flags) == 0) {
        if (operation.is_write)
            OV_LOG_ERROR(MMG_LOG_TAG, "mib set access start failure");
        return MIB_FAIL;
    }
    char result = run_chains(operation, index, did, row, flags);
    if (handler->mibAccessFinish != nullptr)
        handler->mibAccessFinish(handler, result, operation.hook_type, row, flags);
    return result;
}

char run_watched(int type, int index, MIBDID did, void* row, MIB_Flags_t flags) {
    MibRefusalWatch watch(index, row, is_write(type));
    return watch.end(run_operation(type, index, did, row, flags));
}

// By itself, since a door needs room on the stack and threads may have little.
__attribute__((noinline)) char run_behind_thread_door(int type, int index, MIBDID did, void* row,
                                                      MIB_Flags_t flags) {
    const OvRefusal door(ov_refusal_thread_door(), OvRefusal::Kind::EVENT);
    return run_watched(type, index, did, row, flags);
}

} // namespace

char MibAccessHandle(int type, int /*appid*/, MIBDID did, void* row, MIB_Flags_t flags, int /*slot*/) {
    MmgFunctionTrace trace(__func__, __LINE__);
    auto access = static_cast<int>(g_access_count.fetch_add(1, std::memory_order_relaxed) + 1);
    MMG_INFO_LOG("MibAccessHandle[%d]!", access);

    int index = mmg_table_index(did);
    if (index < 0 || index > LAST_INDEX) {
        std::printf("\r\novra: wrong index %d for mib operation!\r\n", index);
        std::fflush(stdout);
        return MIB_FAIL;
    }
    if (row == nullptr) {
        std::printf("\r\novra: null pointer for input row!\r");
        std::fflush(stdout);
        return MIB_FAIL;
    }
    if (table_cntl[index].dataOper == nullptr)
        return MIB_FAIL;
    TableLock lock(table_cntl[index].pmutex, access);
    if (is_write(type) && OvRefusal::current() == nullptr && ov_refusal_thread_door() != nullptr)
        return run_behind_thread_door(type, index, did, row, flags);
    return run_watched(type, index, did, row, flags);
}

int mib_row_mode(int index, void* row) {
    table_control_t* control = mib_control_at(index);
    MibHandler* handler = control == nullptr ? nullptr : control->dataOper;
    if (handler == nullptr || handler->mibGetRowStatus == nullptr)
        return MODE_ILLEGAL;
    return handler->mibGetRowStatus(handler, row);
}

int MibRowStatusGet(MIBDID did, void* row) {
    return mib_row_mode(mmg_table_index(did), row);
}

int MibCallSync(MIBDID did, void* row, MIB_Flags_t flags) {
    const MIBDid_t table = mmg_table_did_read(did);
    table_control_t* control = mib_control_at(table.index);
    if (control == nullptr || table.if_trigger_sync == 0 || control->syncPtr == nullptr)
        return 1;
    auto mode = static_cast<ROW_MODE>(mib_row_mode(table.index, row));
    return control->syncPtr(mode, did, row, flags) == 0 ? 1 : 0;
}

int GetRowActionFromRowstatus(int oldRowStatus, int newRowStatus) {
    if (newRowStatus == OVRA_CREATEANDGO)
        return 1;
    if (oldRowStatus == OVRA_NOTINSERVICE && newRowStatus == OVRA_ACTIVE)
        return 1;
    if (newRowStatus == OVRA_DESTROY)
        return 2;
    return newRowStatus == OVRA_ACTIVE ? 3 : 4;
}
