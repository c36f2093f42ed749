#include "mmg_access.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "../support/log_tap.h"
#include "../support/on_loop.h"
#include "fake_table.h"

namespace {

std::vector<std::string> g_calls; // which callbacks ran, in order
int g_get_answer, g_check_answer, g_set_answer;
FakeRow g_seen;                  // the row as a set callback saw it
void (*g_in_set)(MIBDID, void*); // what a set callback does besides

int on_get(MIBDID, void* row, MIB_Flags_t) {
    g_calls.emplace_back("get");
    static_cast<FakeRow*>(row)->value += 1000;
    return g_get_answer;
}
int on_check(MIBDID, void*, MIB_Flags_t) {
    g_calls.emplace_back("check");
    return g_check_answer;
}
int on_set(MIBDID did, void* row, MIB_Flags_t) {
    g_calls.emplace_back("set");
    g_seen = *static_cast<FakeRow*>(row);
    if (g_in_set != nullptr)
        g_in_set(did, row);
    return g_set_answer;
}

class Access : public testing::Test {
protected:
    Access() {
        g_calls.clear();
        g_get_answer = g_check_answer = g_set_answer = 1;
        g_seen = FakeRow{};
        g_in_set = nullptr;
        EXPECT_EQ(MibRegisterCallback(table.did(), CALLBACK_GET, "getter", 1, on_get, mibDefFlags), 1);
        EXPECT_EQ(MibRegisterCallback(table.did(), CALLBACK_SET, "setter", 1, on_set, mibDefFlags), 1);
        EXPECT_EQ(MibRegisterCallback(table.did(), CALLBACK_CHECK, "checker", 1, on_check, mibDefFlags), 1);
        MibChangedGlobalFlagGet(); // makes the flags' mutex
        MibChangedFlagClear();
    }

    LogTap log;
    FakeTable table{STCONT};
};

using Strings = std::vector<std::string>;

// ---- every operation code -------------------------------------------------------------------------

struct OperationCase {
    int type;
    int hook_type;
    Strings chains;
};

class Operations : public Access, public testing::WithParamInterface<OperationCase> {};

TEST_P(Operations, RunTheirChainsBetweenTheTwoHooks) {
    const OperationCase& operation = GetParam();
    table.put(1, 1, 10);
    table.put(1, 2, 20);
    bool creates = operation.hook_type == MIB_CREATEGO || operation.hook_type == MIB_CREATEWAIT;
    FakeRow row{1, creates ? 9 : 1, 77, OVRA_ACTIVE, 0, 0};
    EXPECT_EQ(table.access(operation.type, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
    EXPECT_EQ(g_calls, operation.chains);
    std::string hook = std::to_string(operation.hook_type);
    EXPECT_EQ(table.take_hooks(), (Strings{"start " + hook, "finish " + hook + " 1"}));
    EXPECT_TRUE(log.lines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    AllServed, Operations,
    testing::Values(OperationCase{MIB_GET, 1, {"get"}}, OperationCase{MIB_GET_S, 1, {}},
                    OperationCase{MIB_GET_FUZZY, 3, {"get"}}, OperationCase{MIB_GET_FUZZY_S, 3, {}},
                    OperationCase{MIB_GETFIRST, 5, {"get"}}, OperationCase{MIB_GETFIRST_S, 5, {}},
                    OperationCase{MIB_GETNEXT, 7, {"get"}}, OperationCase{MIB_GETNEXT_S, 7, {}},
                    OperationCase{MIB_CREATEGO, 9, {"check", "set"}},
                    OperationCase{MIB_CREATEGO_S, 9, {"check"}}, OperationCase{MIB_CREATEGO_N, 9, {"set"}},
                    OperationCase{MIB_CREATEGO_S_N, 9, {}},
                    // A row that waits has nothing for the hardware: the set chain is passed over.
                    OperationCase{MIB_CREATEWAIT, 13, {"check"}},
                    OperationCase{MIB_CREATEWAIT_S, 13, {"check"}}, OperationCase{MIB_CREATEWAIT_N, 13, {}},
                    OperationCase{MIB_CREATEWAIT_S_N, 13, {}}, OperationCase{MIB_SET, 19, {"check", "set"}},
                    OperationCase{MIB_SET_S, 19, {"check"}}, OperationCase{MIB_SET_N, 19, {"set"}},
                    OperationCase{MIB_SET_S_N, 19, {}}, OperationCase{MIB_DEL, 23, {"check", "set"}},
                    OperationCase{MIB_DEL_S, 23, {"check"}}, OperationCase{MIB_DEL_N, 23, {"set"}},
                    OperationCase{MIB_DEL_S_N, 23, {}}),
    [](const auto& info) { return "Code" + std::to_string(info.param.type); });

TEST_F(Access, MibAddAndOtherCodesThatAreNotServedDoNothingAndFail) {
    table.put(1, 1, 10);
    for (int type : {17, 18, 27, 0, -1, 28, 1000000}) {
        FakeRow row{1, 1, 77, OVRA_ACTIVE, 0, 0};
        EXPECT_EQ(table.access(type, row), MIB_FAIL) << type;
        EXPECT_EQ(row.value, 77);
    }
    EXPECT_EQ(table.stored(1, 1)->value, 10);
    EXPECT_EQ(MibNumberGet(table.did()), 1);
    EXPECT_TRUE(g_calls.empty());
    EXPECT_TRUE(table.take_hooks().empty());
    EXPECT_TRUE(log.lines().empty());
}

// ---- identities and rows --------------------------------------------------------------------------

TEST_F(Access, AnIndexOutsideTheArraysIsRefusedInWords) {
    FakeRow row{};
    for (int index : {-1, 204, 100000}) {
        MIBDid_t did{index, 0, 0, "outside"};
        testing::internal::CaptureStdout();
        EXPECT_EQ(MibAccessHandle(MIB_GET, 0, &did, &row, mibDefFlags, 0), MIB_FAIL);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "\r\novra: wrong index " + std::to_string(index) + " for mib operation!\r\n");
    }
}

TEST_F(Access, Index203PassesTheRangeCheckAndFindsNoTable) {
    MIBDid_t did{203, 0, 0, "last"};
    FakeRow row{};
    testing::internal::CaptureStdout();
    EXPECT_EQ(MibAccessHandle(MIB_GET, 0, &did, &row, mibDefFlags, 0), MIB_FAIL);
    EXPECT_EQ(MibAccessHandle(MIB_GET, 0, &did, nullptr, mibDefFlags, 0), MIB_FAIL);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\r\novra: null pointer for input row!\r");
}

TEST_F(Access, ANullIdentityHasTheIndexMinusOne) {
    FakeRow row{};
    testing::internal::CaptureStdout();
    EXPECT_EQ(MibAccessHandle(MIB_GET, 0, nullptr, &row, mibDefFlags, 0), MIB_FAIL);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\r\novra: wrong index -1 for mib operation!\r\n");
    EXPECT_EQ(Run_MibCallbackFunc(0, nullptr, CALLBACK_GET, &row, mibDefFlags), 0);
    EXPECT_EQ(MibRowStatusGet(nullptr, &row), MODE_ILLEGAL);
    EXPECT_EQ(MibRegisterCallback(nullptr, CALLBACK_GET, "x", 1, on_get, mibDefFlags), 0);
    EXPECT_EQ(getMutex(nullptr), nullptr);
}

TEST_F(Access, ANullRowIsRefusedInWords) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(MibAccessHandle(MIB_SET, 0, table.did(), nullptr, mibDefFlags, 0), MIB_FAIL);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\r\novra: null pointer for input row!\r");
    EXPECT_TRUE(table.take_hooks().empty());
}

TEST_F(Access, ATableThatNoModuleRegisteredFailsSilently) {
    MIBDID did = mmg_table_did_getbyindex(ACLUSERRULE);
    FakeRow row{};
    testing::internal::CaptureStdout();
    EXPECT_EQ(MibAccessHandle(MIB_GET, 0, did, &row, mibDefFlags, 0), MIB_FAIL);
    EXPECT_EQ(Run_MibCallbackFunc(0, did, CALLBACK_CHECK, &row, mibDefFlags), 0);
    EXPECT_EQ(MibRowStatusGet(did, &row), MODE_ILLEGAL);
    EXPECT_EQ(MibRegisterCallback(did, CALLBACK_GET, "x", 1, on_get, mibDefFlags), 0);
    MibUnRegisterCallback(did, CALLBACK_GET, on_get);
    EXPECT_EQ(getMutex(did), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(log.lines().empty());
}

// ---- reads ----------------------------------------------------------------------------------------

TEST_F(Access, AReadOfAnAbsentRowFailsSilentlyAndLeavesTheBuffer) {
    for (int type : {MIB_GET, MIB_GET_S, MIB_GETNEXT, MIB_GETFIRST_S, MIB_GET_FUZZY_S}) {
        FakeRow row{3, 3, 42, 0, 0, 0};
        EXPECT_EQ(table.access(type, row), MIB_FAIL);
        EXPECT_EQ(row.value, 42);
    }
    EXPECT_TRUE(g_calls.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(Access, WhatAGetCallbackWroteIsInTheTableFromThenOn) {
    table.put(1, 1, 10);
    FakeRow row{1, 1, 0, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_GET, row), MIB_OK);
    EXPECT_EQ(row.value, 1010);
    EXPECT_EQ(table.stored(1, 1)->value, 1010);
    EXPECT_EQ(table.access(MIB_GET_S, row), MIB_OK);
    EXPECT_EQ(row.value, 1010);
}

TEST_F(Access, AFailingGetCallbackFailsTheRead) {
    table.put(1, 1, 10);
    g_get_answer = 0;
    FakeRow row{1, 1, 0, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_GET, row), MIB_FAIL);
    EXPECT_EQ(table.stored(1, 1)->value, 10);
    EXPECT_EQ(table.take_hooks(), (Strings{"start 1", "finish 1 0"}));
    EXPECT_EQ(log.texts(),
              (Strings{"handler getter return error! talble STCONT id 5 callback type: CALLBACK_GET "}));
}

// ---- writes ---------------------------------------------------------------------------------------

TEST_F(Access, AWriteShowsCallbacksTheFutureRowAndStoresItAfterThem) {
    table.put(1, 1, 10);
    g_in_set = [](MIBDID did, void* row) { EXPECT_EQ(static_cast<FakeRow*>(row_get(did, row))->value, 10); };
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_SET, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
    EXPECT_EQ(g_seen.value, 11);
    EXPECT_EQ(g_seen.old_value, 10);
    EXPECT_EQ(g_seen.status, OVRA_ACTIVE);
    EXPECT_EQ(table.stored(1, 1)->value, 11);
}

TEST_F(Access, MibSetSNChangesTheRowWithoutCallbackOrChangedFlag) {
    table.put(1, 1, 10);
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_SET_S_N, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
    EXPECT_EQ(table.stored(1, 1)->value, 11);
    EXPECT_TRUE(g_calls.empty());
    EXPECT_EQ(MibChangedTableFlagGet(table.did()), 0);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
}

TEST_F(Access, ASetChainRaisesTheChangedFlag) {
    table.put(1, 1, 10);
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_SET_S, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
    EXPECT_EQ(MibChangedTableFlagGet(table.did()), 0); // only the check chain ran
    EXPECT_EQ(table.access(MIB_SET, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
    EXPECT_EQ(MibChangedTableFlagGet(table.did()), 1);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 1);
}

TEST_F(Access, MibCreatewaitStoresARowThatTheSetChainDidNotSee) {
    FakeRow row{1, 1, 5, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_CREATEWAIT, row), MIB_OK);
    EXPECT_EQ(g_calls, (Strings{"check"}));
    EXPECT_EQ(table.stored(1, 1)->status, OVRA_NOTINSERVICE);
    EXPECT_EQ(MibRowStatusGet(table.did(), table.stored(1, 1)), MODE_IDLE);
    EXPECT_EQ(MibChangedTableFlagGet(table.did()), 1); // a chain passed over counts as run
}

TEST_F(Access, WritesThatTheModuleRefusesAreLogged) {
    table.put(1, 1, 10);
    FakeRow existing{1, 1, 0, OVRA_CREATEANDGO, 0, 0};
    FakeRow absent{7, 7, 0, OVRA_ACTIVE, 0, 0};
    int refused = 0;
    for (int type : {MIB_CREATEGO, MIB_CREATEGO_S, MIB_CREATEWAIT_N, MIB_SET_S_N}) {
        EXPECT_EQ(table.access(type, existing), MIB_FAIL);
        ++refused;
    }
    for (int type : {MIB_SET, MIB_SET_S, MIB_DEL_N, MIB_DEL_S_N}) {
        EXPECT_EQ(table.access(type, absent), MIB_FAIL);
        ++refused;
    }
    EXPECT_EQ(log.lines(), std::vector<LogLine>(static_cast<size_t>(refused),
                                                {OV_LOG_LVL_ERROR, "MMG", "mib set access start failure"}));
    for (const std::string& hook : table.take_hooks())
        EXPECT_EQ(hook.rfind("start", 0), 0u) << hook;
    EXPECT_TRUE(g_calls.empty());
    EXPECT_EQ(MibNumberGet(table.did()), 1);
}

TEST_F(Access, AFailingCheckCallbackStopsTheWriteBeforeTheSetChain) {
    g_check_answer = 0;
    FakeRow row{1, 1, 5, OVRA_CREATEANDGO, 0, 0};
    EXPECT_EQ(table.access(MIB_SET, row), MIB_FAIL);
    EXPECT_EQ(g_calls, (Strings{"check"}));
    EXPECT_EQ(table.take_hooks(), (Strings{"start 19", "finish 19 0"}));
    EXPECT_EQ(table.stored(1, 1), nullptr);
    EXPECT_EQ(log.lines(),
              (std::vector<LogLine>{{OV_LOG_LVL_ERROR, "MMG",
                                     "handler checker return error! talble STCONT id 5 callback type: "
                                     "CALLBACK_CHECK "}}));
}

TEST_F(Access, AFailingSetCallbackTakesTheNewRowOutAgain) {
    g_set_answer = 0;
    FakeRow row{1, 1, 5, OVRA_CREATEANDGO, 0, 0};
    EXPECT_EQ(table.access(MIB_SET, row), MIB_FAIL);
    EXPECT_EQ(table.stored(1, 1), nullptr);
    EXPECT_EQ(MibChangedTableFlagGet(table.did()), 0);
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{OV_LOG_LVL_ERROR, "MMG",
                                                  "handler setter return error! callback type: "
                                                  "CALLBACK_SET "}}));
}

TEST_F(Access, AFailedChangeLeavesTheTableAndTheNewValuesInTheBuffer) {
    table.put(1, 1, 10);
    g_set_answer = 0;
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_SET, row, columns({FAKE_COLUMN_VALUE})), MIB_FAIL);
    EXPECT_EQ(table.stored(1, 1)->value, 10);
    EXPECT_EQ(row.value, 11);
    EXPECT_EQ(table.access(MIB_DEL, row), MIB_FAIL);
    EXPECT_NE(table.stored(1, 1), nullptr);
}

TEST_F(Access, OnlyAnAnswerOfOneIsSuccess) {
    table.put(1, 1, 10);
    FakeRow row{1, 1, 11, 0, 0, 0};
    for (int answer : {2, -1, 0, 256, 257}) {
        g_set_answer = answer;
        EXPECT_EQ(table.access(MIB_SET, row, columns({FAKE_COLUMN_VALUE})), MIB_FAIL) << answer;
    }
    EXPECT_EQ(table.stored(1, 1)->value, 10);
}

TEST_F(Access, ARowDeletedByMibDelIsSeenAsDeletionByTheSetChain) {
    table.put(1, 1, 10);
    FakeRow row{1, 1, 0, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_DEL, row), MIB_OK);
    EXPECT_EQ(g_seen.status, OVRA_DESTROY);
    EXPECT_EQ(g_seen.value, 10);
    EXPECT_EQ(table.stored(1, 1), nullptr);
}

// ---- nesting, threads and the registry ------------------------------------------------------------

TEST_F(Access, ACallbackMayUseTheSameAndAnotherTable) {
    static FakeTable* other_table;
    FakeTable other{SGEM};
    other_table = &other;
    table.put(1, 1, 10);
    g_in_set = [](MIBDID did, void*) {
        g_in_set = nullptr;
        FakeRow same{1, 1, 0, 0, 0, 0};
        EXPECT_EQ(MibAccessHandle(MIB_GET_S, 0, did, &same, mibDefFlags, 0), MIB_OK);
        EXPECT_EQ(same.value, 10);
        FakeRow sibling{1, 2, 22, OVRA_CREATEANDGO, 0, 0};
        EXPECT_EQ(MibAccessHandle(MIB_SET, 0, did, &sibling, mibDefFlags, 0), MIB_OK);
        FakeRow companion{1, 1, 33, OVRA_CREATEANDGO, 0, 0};
        EXPECT_EQ(other_table->access(MIB_SET_N, companion), MIB_OK);
    };
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_SET, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
    EXPECT_EQ(table.stored(1, 1)->value, 11);
    EXPECT_EQ(table.stored(1, 2)->value, 22);
    EXPECT_EQ(other.stored(1, 1)->value, 33);
}

TEST_F(Access, TheTableIsLockedDuringTheOperationAndFreeAfterIt) {
    static ovra_mutex_t* mutex;
    mutex = getMutex(table.did());
    ASSERT_NE(mutex, nullptr);
    auto try_lock_elsewhere = [] {
        int result = 0;
        std::thread([&] {
            result = pthread_mutex_trylock(mutex);
            if (result == 0)
                pthread_mutex_unlock(mutex);
        }).join();
        return result;
    };
    static int during;
    during = 0;
    g_in_set = [](MIBDID, void*) { std::thread([] { during = pthread_mutex_trylock(mutex); }).join(); };
    table.put(1, 1, 10);
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_SET, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
    EXPECT_EQ(during, EBUSY);
    EXPECT_EQ(try_lock_elsewhere(), 0);
    EXPECT_EQ(table.access(MIB_ADD, row), MIB_FAIL);
    EXPECT_EQ(try_lock_elsewhere(), 0);
}

TEST_F(Access, AnotherThreadMayWorkOnRowsButRunNoCallback) {
    const AnyThread watched;
    table.put(1, 1, 10);
    std::thread([this] {
        FakeRow row{1, 1, 11, 0, 0, 0};
        EXPECT_EQ(table.access(MIB_SET_S_N, row, columns({FAKE_COLUMN_VALUE})), MIB_OK);
        EXPECT_EQ(table.access(MIB_GET_S, row), MIB_OK);
        EXPECT_EQ(AnyThread::intruders(), 0);
        EXPECT_EQ(table.access(MIB_GET, row), MIB_OK);
        EXPECT_EQ(AnyThread::intruders(), 1);
    }).join();
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(table.access(MIB_GET, row), MIB_OK);
    EXPECT_EQ(AnyThread::intruders(), 1);
}

TEST_F(Access, AnOperationOnSponGoesOnWhenItsIdentityIsGivenToANewTable) {
    FakeTable spon{SPON};
    static std::vector<int> seen;
    seen.clear();
    auto first = [](MIBDID did, void*, MIB_Flags_t) {
        seen.push_back(did->index);
        mmg_table_did_register(200, "NEWCOMER", 0, 0); // takes SPON's place
        return 1;
    };
    auto second = [](MIBDID did, void*, MIB_Flags_t) {
        seen.push_back(did->index);
        return 1;
    };
    MibRegisterCallback(spon.did(), CALLBACK_SET, "second", 1, second, mibDefFlags);
    MibRegisterCallback(spon.did(), CALLBACK_SET, "first", 1, first, mibDefFlags);
    spon.put(1, 1, 10);
    MIBDID given = spon.did();
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(MibAccessHandle(MIB_SET, 0, given, &row, columns({FAKE_COLUMN_VALUE}), 0), MIB_OK);
    EXPECT_EQ(given->index, 200);
    EXPECT_EQ(seen, (std::vector<int>{SPON, SPON}));
    EXPECT_EQ(spon.stored(1, 1)->value, 11);
    EXPECT_EQ(MibChangedTableFlagGet(spon.did()), 1);
}

// Puts the registry back as it was.
class KeptRegistry {
public:
    KeptRegistry() : saved_(std::begin(_sDid_Array), std::end(_sDid_Array)) {}
    ~KeptRegistry() { std::copy(saved_.begin(), saved_.end(), std::begin(_sDid_Array)); }
    KeptRegistry(const KeptRegistry&) = delete;
    KeptRegistry& operator=(const KeptRegistry&) = delete;

private:
    std::vector<MIBDid_t> saved_;
};

TEST_F(Access, AnIdentityOfSponStandsForItWhenAnotherThreadGivesItsPlaceAway) {
    const KeptRegistry kept;
    FakeTable spon{SPON};
    spon.put(1, 1, 10);
    const MIBDID given = spon.did();
    std::thread([] { mmg_table_did_register(201, "NEWCOMER", 0, 0); }).join();
    EXPECT_EQ(given->index, 201) << "the place has been taken";
    EXPECT_EQ(mmg_table_index(given), SPON);
    EXPECT_STREQ(mmg_table_did_read(given).table_name, "SPON");

    EXPECT_EQ(get_row_num(given), 1);
    MibChangedFlagClear();
    MibChangedFlagSet(given);
    EXPECT_EQ(MibChangedTableFlagGet(given), 1);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 1);
    FakeRow row{1, 1, 11, 0, 0, 0};
    EXPECT_EQ(MibAccessHandle(MIB_SET, 0, given, &row, columns({FAKE_COLUMN_VALUE}), 0), MIB_OK);
    EXPECT_EQ(spon.stored(1, 1)->value, 11);
    EXPECT_NE(spon.did(), given) << "fetched anew it stands elsewhere";
    EXPECT_EQ(mmg_table_index(given), 201);
}

TEST_F(Access, AnIdentityOfSponIsTheNewTablesWhenItsOwnThreadGaveThePlaceAway) {
    const KeptRegistry kept;
    const MIBDID given = mmg_table_did_getbyindex(SPON);
    mmg_table_did_register(202, "OWN", 0, 0);
    EXPECT_EQ(mmg_table_index(given), 202);
}

// ---- debug lines ----------------------------------------------------------------------------------

TEST_F(Access, TheInfoSwitchLogsCountAndLock) {
    table.put(1, 1, 10);
    FakeRow row{1, 1, 0, 0, 0, 0};
    mmg_set_debug_info_flag(1);
    table.access(MIB_GET_S, row);
    mmg_set_debug_info_flag(0);
    Strings texts = log.texts();
    ASSERT_EQ(texts.size(), 5u);
    std::string count = texts[0].substr(texts[0].find('['));
    EXPECT_EQ(texts, (Strings{"MibAccessHandle" + count, "Ovra_MutexLock" + count,
                              "ret = 0 " + count.substr(0, count.size() - 1), "Ovra_MutexUnlock" + count,
                              "ret = 0 " + count}));
    EXPECT_EQ(log.lines()[0].level, OV_LOG_LVL_INFO);
}

TEST_F(Access, TheFunctionSwitchLogsEntryAndExit) {
    table.put(1, 1, 10);
    FakeRow row{1, 1, 0, 0, 0, 0};
    mmg_set_debug_function_flag(1);
    table.access(MIB_GET_S, row);
    mmg_set_debug_function_flag(0);
    EXPECT_EQ(log.texts(), (Strings{"ENTRY", "EXIT"}));
}

// ---- registration and forwarders ------------------------------------------------------------------

TEST_F(Access, ARegisteredTableHasItsControlRecord) {
    EXPECT_EQ(table.control, &table_cntl[STCONT]);
    EXPECT_EQ(table.control->reg, nullptr);
    EXPECT_EQ(table.control->dataOper, &table.object.base);
    EXPECT_EQ(table.control->tbl_did, table.did());
    EXPECT_EQ(table.control->table, nullptr);
    EXPECT_EQ(table.control->pmutex, getMutex(table.did()));
    EXPECT_EQ(MibGetTableStructSize(table.did()), int{sizeof(FakeRow)});
    EXPECT_EQ(MibGetTableOwnerRole(table.did()), ROLE_UNDEFINED);
    table.put(1, 1, 1);
    table.put(1, 2, 1);
    EXPECT_EQ(MibNumberGet(table.did()), 2);
    EXPECT_EQ(ovraMib_RegisterSnmpHanlder(nullptr, nullptr, &table.object.base, 8, 24), nullptr);
}

TEST_F(Access, TheOwnerOfAnOperationIsNotedPerTable) {
    EXPECT_EQ(getOpOwner(table.did()), 0);
    setOpOwnerSnmp(table.did());
    EXPECT_EQ(getOpOwner(table.did()), 1);
    clearOpOwnerSnmp(table.did());
    EXPECT_EQ(getOpOwner(table.did()), 0);
    setOpOwnerSnmp(nullptr);
    EXPECT_EQ(getOpOwner(nullptr), 0);
}

TEST_F(Access, UnsetSlotsOfAModuleDoNothing) {
    FakeRow row{};
    MibSave(table.did());
    MibSefDefRow(table.did(), &row);
    EXPECT_EQ(MibQBC(table.did(), &row, 0, 0, nullptr, nullptr, nullptr), -1);
    MIBDID absent = mmg_table_did_getbyindex(ACLUSERRULE);
    MibSave(absent);
    MibSefDefRow(absent, &row);
    EXPECT_EQ(MibQBC(absent, &row, 0, 0, nullptr, nullptr, nullptr), -1);
}

TEST_F(Access, SetSlotsOfAModuleAreCalled) {
    static int saves, defaults;
    saves = defaults = 0;
    table.object.base.mibSave = [](MibHandler*) { ++saves; };
    table.object.base.mibSetDefRow = [](MibHandler*, void* row) {
        ++defaults;
        static_cast<FakeRow*>(row)->value = 4;
    };
    table.object.base.mibQBC = [](MibHandler*, void*, int index_flag, int, ovralist_t*, element_comparator,
                                  Mib_Index_Compare_Ptr) { return index_flag + 1; };
    FakeRow row{};
    MibSave(table.did());
    MibSefDefRow(table.did(), &row);
    EXPECT_EQ(saves, 1);
    EXPECT_EQ(defaults, 1);
    EXPECT_EQ(row.value, 4);
    EXPECT_EQ(MibQBC(table.did(), &row, 3, 0, nullptr, nullptr, nullptr), 4);
}

TEST_F(Access, AModuleWithoutHooksFailsEveryOperation) {
    MibHandler_ctor(&table.object.base);
    FakeRow row{};
    EXPECT_EQ(table.access(MIB_GET, row), MIB_FAIL);
    EXPECT_EQ(MibRowStatusGet(table.did(), &row), MODE_ILLEGAL);
}

TEST_F(Access, RoleAndSyncHookAreSetOnlyForARealRole) {
    auto hook = [](ROW_MODE, MIBDID, void*, MIB_Flags_t) { return 0; };
    for (int role : {-1, 0, 4, 5})
        EXPECT_EQ(ovraMib_ParamSet(table.did(), static_cast<app_role>(role), hook), 0) << role;
    EXPECT_EQ(log.texts(), Strings(4, "wrong role try to register for mib:5"));
    EXPECT_EQ(table.control->syncPtr, nullptr);
    for (app_role role : {ROLE_STANDALONE, ROLE_MANAGER, ROLE_AGENT}) {
        EXPECT_EQ(ovraMib_ParamSet(table.did(), role, hook), 1);
        EXPECT_EQ(MibGetTableOwnerRole(table.did()), role);
    }
    table.control->role = ROLE_UNDEFINED;
    table.control->syncPtr = nullptr;
}

TEST_F(Access, AChangeIsOfferedToTheSyncHookOfATableThatTriggersIt) {
    static ROW_MODE mode;
    static int answer;
    FakeTable fan{SFAN}; // if_trigger_sync
    FakeRow row{1, 1, 0, OVRA_CREATEANDGO, 0, 0};
    EXPECT_EQ(MibCallSync(fan.did(), &row, mibDefFlags), 1);
    auto hook = [](ROW_MODE given, MIBDID, void*, MIB_Flags_t) {
        mode = given;
        return answer;
    };
    ovraMib_ParamSet(fan.did(), ROLE_MANAGER, hook);
    answer = 0;
    EXPECT_EQ(MibCallSync(fan.did(), &row, mibDefFlags), 1);
    EXPECT_EQ(mode, MODE_CRE);
    for (answer = -1; answer < 2; answer += 2)
        EXPECT_EQ(MibCallSync(fan.did(), &row, mibDefFlags), 0);

    answer = 1;
    ovraMib_ParamSet(table.did(), ROLE_MANAGER, hook); // STCONT doesn't trigger it
    EXPECT_EQ(MibCallSync(table.did(), &row, mibDefFlags), 1);
    EXPECT_EQ(MibCallSync(nullptr, &row, mibDefFlags), 1);
    fan.control->syncPtr = nullptr;
    table.control->syncPtr = nullptr;
    table.control->role = ROLE_UNDEFINED;
}

TEST(RowAction, FollowsFromOldAndNewRowStatus) {
    for (int old_status = OVRA_NONEXISTENT; old_status <= OVRA_DESTROY; ++old_status) {
        EXPECT_EQ(GetRowActionFromRowstatus(old_status, OVRA_CREATEANDGO), 1);
        EXPECT_EQ(GetRowActionFromRowstatus(old_status, OVRA_DESTROY), 2);
        EXPECT_EQ(GetRowActionFromRowstatus(old_status, OVRA_ACTIVE),
                  old_status == OVRA_NOTINSERVICE ? 1 : 3);
        for (int other : {OVRA_NONEXISTENT, OVRA_NOTINSERVICE, OVRA_NOTREADY, OVRA_CREATEANDWAIT})
            EXPECT_EQ(GetRowActionFromRowstatus(old_status, other), 4);
    }
}

} // namespace
