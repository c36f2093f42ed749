#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "../support/log_tap.h"
#include "mmg_access.h"

namespace {

// ---- changed flags --------------------------------------------------------------------------------

class ChangedFlags : public testing::Test {
protected:
    ChangedFlags() {
        MibChangedGlobalFlagGet(); // makes the mutex
        MibChangedFlagClear();
    }
    ~ChangedFlags() override { MibChangedFlagClear(); }
    static MIBDID did(int index) { return mmg_table_did_getbyindex(index); }
};

TEST_F(ChangedFlags, AreRaisedOnlyForTablesThatTriggerASave) {
    MibChangedFlagSet(did(SACTION));
    EXPECT_EQ(MibChangedTableFlagGet(did(SACTION)), 0);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
    MibChangedFlagSet(did(SGEM));
    EXPECT_EQ(MibChangedTableFlagGet(did(SGEM)), 1);
    EXPECT_EQ(MibChangedTableFlagGet(did(STCONT)), 0);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 1);
}

TEST_F(ChangedFlags, TheGlobalFlagFallsWithTheLastTable) {
    MibChangedFlagSet(did(SGEM));
    MibChangedFlagSet(did(STCONT));
    MibChangedOneFlagClear(did(SGEM));
    EXPECT_EQ(MibChangedTableFlagGet(did(SGEM)), 0);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 1);
    MibChangedOneFlagClear(did(STCONT));
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
}

TEST_F(ChangedFlags, TheLastIndexIsNotInspectedWhenOneIsCleared) {
    MIBDid_t below{201, 1, 0, "below"}, last{202, 1, 0, "last"};
    MibChangedFlagSet(&below);
    MibChangedFlagSet(&last);
    MibChangedFlagSet(did(SGEM));
    MibChangedOneFlagClear(did(SGEM));
    EXPECT_EQ(MibChangedGlobalFlagGet(), 1);
    MibChangedOneFlagClear(&below);
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
    EXPECT_EQ(MibChangedTableFlagGet(&last), 1);
}

TEST_F(ChangedFlags, ClearAndInitClearAll) {
    for (auto clear : {MibChangedFlagClear, MIibChangedFlagInit}) {
        MibChangedFlagSet(did(SGEM));
        MibChangedFlagSet(did(SPON));
        clear();
        EXPECT_EQ(MibChangedTableFlagGet(did(SGEM)), 0);
        EXPECT_EQ(MibChangedTableFlagGet(did(SPON)), 0);
        EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
    }
}

TEST_F(ChangedFlags, OfNoTableAreClear) {
    MIBDid_t outside{204, 1, 0, "outside"};
    for (MIBDID none : {MIBDID{}, &outside}) {
        MibChangedFlagSet(none);
        MibChangedOneFlagClear(none);
        EXPECT_EQ(MibChangedTableFlagGet(none), 0);
    }
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
}

TEST_F(ChangedFlags, TheirMutexComesFromThePool) {
    ovra_mutex_t* mutex = global_change_flag.pmutex;
    ASSERT_NE(mutex, nullptr);
    MIibChangedFlagInit();
    EXPECT_EQ(global_change_flag.pmutex, mutex);
    ReleaseMutex(mutex);
    ovra_mutex_t* first_free = AssignMutex();
    ReleaseMutex(first_free);
    global_change_flag.pmutex = nullptr;
    EXPECT_EQ(MibChangedGlobalFlagGet(), 0);
    EXPECT_EQ(global_change_flag.pmutex, first_free);
}

TEST_F(ChangedFlags, ClearingBeforeTheMutexExistsPrintsAndClears) {
    ovra_mutex_t* mutex = global_change_flag.pmutex;
    MibChangedFlagSet(did(SGEM));
    global_change_flag.pmutex = nullptr;
    testing::internal::CaptureStdout();
    MibChangedFlagClear();
    EXPECT_NE(testing::internal::GetCapturedStdout().find("Failed to obtain Mutex: Invalid argument\n"),
              std::string::npos);
    global_change_flag.pmutex = mutex;
    EXPECT_EQ(MibChangedTableFlagGet(did(SGEM)), 0);
}

// ---- pools ----------------------------------------------------------------------------------------

TEST(AppIds, RunFrom1To127LowestFirstAndThenGive0) {
    std::vector<int> taken;
    for (int id = AssignAppId(); id != 0; id = AssignAppId())
        taken.push_back(id);
    ASSERT_FALSE(taken.empty());
    EXPECT_EQ(taken.back(), 127);
    EXPECT_TRUE(std::is_sorted(taken.begin(), taken.end()));
    EXPECT_EQ(AssignAppId(), 0);
    ReleaseAppId(60);
    ReleaseAppId(7);
    EXPECT_EQ(AssignAppId(), 7);
    EXPECT_EQ(AssignAppId(), 60);
    EXPECT_EQ(AssignAppId(), 0);
    for (int id : taken)
        ReleaseAppId(id);
    EXPECT_EQ(AssignAppId(), 1);
    ReleaseAppId(1);
}

TEST(AppIds, OutsideTheRangeCanNotBeReleased) {
    LogTap log;
    for (int id : {0, -5, 128})
        ReleaseAppId(id);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"wrong appid 0, can't be released!",
                                                     "wrong appid -5, can't be released!",
                                                     "wrong appid 128, can't be released!"}));
    EXPECT_EQ(AssignAppId(), 1);
    ReleaseAppId(1);
}

class MutexPool : public testing::Test {
protected:
    // Takes all that are left.
    void exhaust() {
        while (ovra_mutex_t* mutex = AssignMutex())
            taken.push_back(mutex);
    }
    ~MutexPool() override {
        for (ovra_mutex_t* mutex : taken)
            ReleaseMutex(mutex);
    }
    std::vector<ovra_mutex_t*> taken;
};

TEST_F(MutexPool, Holds128MutexesAndGivesTheFirstFreeOne) {
    exhaust();
    std::set<ovra_mutex_t*> all(taken.begin(), taken.end());
    EXPECT_EQ(all.size(), taken.size());
    EXPECT_LE(all.size(), 128u);
    EXPECT_GT(all.size(), 100u);
    EXPECT_EQ(AssignMutex(), nullptr);
    ReleaseMutex(taken[50]);
    ReleaseMutex(taken[3]);
    EXPECT_EQ(AssignMutex(), taken[3]);
    EXPECT_EQ(AssignMutex(), taken[50]);
    ReleaseMutex(nullptr);
    ovra_mutex_t foreign;
    ReleaseMutex(&foreign);
    EXPECT_EQ(AssignMutex(), nullptr);
}

TEST_F(MutexPool, ItsMutexesAreRecursive) {
    ovra_mutex_t* mutex = AssignMutex();
    taken.push_back(mutex);
    EXPECT_EQ(Ovra_MutexLock(mutex), 0);
    EXPECT_EQ(Ovra_MutexLock(mutex), 0);
    EXPECT_EQ(Ovra_MutexUnlock(mutex), 0);
    EXPECT_EQ(Ovra_MutexUnlock(mutex), 0);
}

TEST_F(MutexPool, ATableWithoutMutexIsUsedWithAPrintedComplaint) {
    exhaust();
    MibHandler handler;
    MibHandler_ctor(&handler);
    handler.mibAccessStart = [](MibHandler*, int, void*, MIB_Flags_t) { return char{1}; };
    MIBDID did = mmg_table_did_getbyindex(SRMONUPOE);
    ovraMib_RegisterSnmpHanlder(did, nullptr, &handler, 4, 8);
    EXPECT_EQ(getMutex(did), nullptr);
    int row[2] = {1, 2};
    testing::internal::CaptureStdout();
    EXPECT_EQ(MibAccessHandle(MIB_SET_S_N, 0, did, row, mibDefFlags, 0), MIB_OK);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Failed to obtain Mutex: Invalid argument\nFailed to obtain Mutex: Invalid argument\n");
    table_cntl[did->index].dataOper = nullptr;
}

} // namespace
