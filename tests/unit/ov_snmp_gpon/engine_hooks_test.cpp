#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "../support/log_tap.h"
#include "engine_tables.h"
#include "fake_product.h"

namespace {

constexpr unsigned ALLOC = 2, NAME = 3, PROFILE = 4, STATUS = 6;

// What the callbacks saw, and what they answer.
struct Seen {
    std::string kind;
    int mode;
    CrateRow row;
    MIB_Flags_t columns;
};
std::vector<Seen> g_seen;
int g_check_answer, g_set_answer;
int32_t g_get_alloc; // what the get callback fills in

int on_check(MIBDID did, void* row, MIB_Flags_t flags) {
    g_seen.push_back({"check", MibRowStatusGet(did, row), *static_cast<CrateRow*>(row), flags});
    return g_check_answer;
}
int on_set(MIBDID did, void* row, MIB_Flags_t flags) {
    g_seen.push_back({"set", MibRowStatusGet(did, row), *static_cast<CrateRow*>(row), flags});
    return g_set_answer;
}
int on_get(MIBDID, void* row, MIB_Flags_t) {
    static_cast<CrateRow*>(row)->crateAlloc = g_get_alloc;
    return 1;
}

class Hooks : public testing::Test {
protected:
    Hooks() {
        g_seen.clear();
        g_check_answer = g_set_answer = 1;
        g_get_alloc = 0;
        module.initialize_table_data();
        MibRegisterCallback(module.did(), CALLBACK_CHECK, "check", 1, on_check, mibDefFlags);
        MibRegisterCallback(module.did(), CALLBACK_SET, "set", 1, on_set, mibDefFlags);
        MibRegisterCallback(module.did(), CALLBACK_GET, "get", 1, on_get, columns({ALLOC}));
    }

    char access(int type, CrateRow& row, const MIB_Flags_t& flags) {
        return MibAccessHandle(type, 0, module.did(), &row, flags, 0);
    }
    CrateRow* stored() {
        CrateRow key = crate(1, 2, 3, 4, 5);
        return static_cast<CrateRow*>(row_get(module.did(), &key));
    }
    // Brings the row 1.2.3.4.5 into a state and forgets what the callbacks saw.
    void make(int32_t create) {
        CrateRow row = crate(1, 2, 3, 4, 5);
        set_text(row.crateName, "before");
        row.crateProfile = 7;
        row.crateRowStatus = create;
        ASSERT_EQ(access(MIB_SET, row, columns({NAME, PROFILE, STATUS})), MIB_OK);
        g_seen.clear();
    }
    char set_status(int32_t status) {
        CrateRow row = crate(1, 2, 3, 4, 5);
        row.crateRowStatus = status;
        return access(MIB_SET, row, columns({STATUS}));
    }
    std::vector<int> set_modes() {
        std::vector<int> modes;
        for (const Seen& seen : g_seen) {
            if (seen.kind == "set")
                modes.push_back(seen.mode);
        }
        return modes;
    }

    LogTap log;
    TableModule& module = crate_module();
};

using Modes = std::vector<int>;

// ---- the row status life --------------------------------------------------------------------------

TEST_F(Hooks, CreateGoOfAFilledBufferMakesABlankActiveRow) {
    CrateRow row = crate(1, 2, 3, 4, 5);
    set_text(row.crateName, "dropped");
    row.crateProfile = 9;
    EXPECT_EQ(access(MIB_CREATEGO, row, mibDefFlags), MIB_OK);
    ASSERT_NE(stored(), nullptr);
    EXPECT_EQ(stored()->crateRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_CREATEANDGO);
    EXPECT_STREQ(stored()->crateName, "");
    EXPECT_EQ(stored()->crateProfile, 0);
    EXPECT_STREQ(row.crateName, "");
    EXPECT_EQ(row.crateRowStatus, OVRA_ACTIVE);
    ASSERT_EQ(g_seen.size(), 2u);
    EXPECT_EQ(g_seen[1].mode, MODE_CRE);
    EXPECT_STREQ(g_seen[1].row.crateName, "");
    EXPECT_EQ(g_seen[1].row.crateRowStatus, OVRA_CREATEANDGO);
}

TEST_F(Hooks, SetWithCreateAndGoMakesAFilledActiveRow) {
    CrateRow row = crate(1, 2, 3, 4, 5);
    set_text(row.crateName, "tc3");
    row.crateProfile = 77;
    row.crateRowStatus = OVRA_CREATEANDGO;
    EXPECT_EQ(access(MIB_SET, row, columns({NAME, STATUS})), MIB_OK);
    const MIB_Flags_t named = columns({NAME, STATUS});
    EXPECT_TRUE(same_bytes(&g_seen.back().columns, &named, sizeof named));
    ASSERT_NE(stored(), nullptr);
    EXPECT_STREQ(stored()->crateName, "tc3");
    EXPECT_EQ(stored()->crateProfile, 0) << "not in the mask";
    EXPECT_EQ(stored()->crateRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_CREATEANDGO);
    EXPECT_EQ(set_modes(), Modes{MODE_CRE});
    EXPECT_EQ(
        log.lines().front(),
        (LogLine{OV_LOG_LVL_INFO, "APPs", "create entry [shelfID:1 slotID:2 portID:3 onuId:4 crateId:5 ] "}));
}

TEST_F(Hooks, TheNewRowIsStoredInItsMergedFormBeforeTheCallbacksRun) {
    static CrateRow in_store;
    MibUnRegisterCallback(module.did(), CALLBACK_CHECK, on_check);
    MibRegisterCallback(
        module.did(), CALLBACK_CHECK, "look", 1,
        [](MIBDID did, void* row, MIB_Flags_t) {
            in_store = *static_cast<CrateRow*>(row_get(did, row));
            return 1;
        },
        mibDefFlags);
    make(OVRA_CREATEANDGO);
    EXPECT_STREQ(in_store.crateName, "before");
    EXPECT_EQ(in_store.crateRowStatus, OVRA_CREATEANDGO);
}

TEST_F(Hooks, CreateWaitStoresARowNotInServiceWithoutTheSetChain) {
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(access(MIB_CREATEWAIT, row, mibDefFlags), MIB_OK);
    ASSERT_NE(stored(), nullptr);
    EXPECT_EQ(stored()->crateRowStatus, OVRA_NOTINSERVICE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_CREATEANDWAIT);
    EXPECT_EQ(set_modes(), Modes{});
    EXPECT_EQ(g_seen.size(), 1u) << "the check chain runs";
}

TEST_F(Hooks, SetWithCreateAndWaitStoresARowNotInService) {
    make(OVRA_CREATEANDWAIT);
    EXPECT_EQ(stored()->crateRowStatus, OVRA_NOTINSERVICE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_CREATEANDWAIT);
    EXPECT_STREQ(stored()->crateName, "before");
}

TEST_F(Hooks, ActivationOfAWaitingRowIsACreate) {
    make(OVRA_CREATEANDWAIT);
    EXPECT_EQ(set_status(OVRA_ACTIVE), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{MODE_CRE});
    EXPECT_EQ(stored()->crateRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_ACTIVE);
    EXPECT_STREQ(g_seen.back().row.crateName, "before") << "the callback gets the whole row";
    ASSERT_EQ(g_seen.size(), 2u);
    for (const Seen& seen : g_seen)
        EXPECT_TRUE(same_bytes(&seen.columns, &mibDefFlags, sizeof mibDefFlags)) << seen.kind;
}

TEST_F(Hooks, AWriteToAnActiveRowIsAChange) {
    make(OVRA_CREATEANDGO);
    CrateRow row = crate(1, 2, 3, 4, 5);
    row.crateProfile = 8;
    EXPECT_EQ(access(MIB_SET, row, columns({PROFILE})), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{MODE_CHG});
    EXPECT_EQ(stored()->crateRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_CREATEANDGO) << "kept";
    EXPECT_EQ(stored()->crateProfile, 8);
    EXPECT_EQ(g_seen.back().row.old_crateProfile, 7);
}

TEST_F(Hooks, AWriteToAnActivatedRowIsAChange) {
    make(OVRA_CREATEANDWAIT);
    set_status(OVRA_ACTIVE);
    g_seen.clear();
    EXPECT_EQ(set_status(OVRA_ACTIVE), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{MODE_CHG});
}

TEST_F(Hooks, DestroyOfAnActiveRowIsADelete) {
    make(OVRA_CREATEANDGO);
    EXPECT_EQ(set_status(OVRA_DESTROY), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{MODE_DEL});
    EXPECT_EQ(stored(), nullptr);
}

TEST_F(Hooks, DeleteOfAnActiveRowIsADelete) {
    make(OVRA_CREATEANDGO);
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(access(MIB_DEL, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{MODE_DEL});
    EXPECT_STREQ(g_seen.back().row.crateName, "before");
    EXPECT_EQ(g_seen.back().row.crateRowStatus, OVRA_DESTROY);
    EXPECT_EQ(g_seen.back().row.old_crateRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(stored(), nullptr);
}

TEST_F(Hooks, AWriteToAWaitingRowIsStoredWithoutTheSetChain) {
    make(OVRA_CREATEANDWAIT);
    CrateRow row = crate(1, 2, 3, 4, 5);
    row.crateProfile = 8;
    EXPECT_EQ(access(MIB_SET, row, columns({PROFILE})), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{});
    EXPECT_EQ(stored()->crateProfile, 8);
    EXPECT_EQ(stored()->crateRowStatus, OVRA_NOTINSERVICE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_CREATEANDWAIT) << "kept";
}

TEST_F(Hooks, DestroyOfAWaitingRowSkipsTheSetChain) {
    make(OVRA_CREATEANDWAIT);
    EXPECT_EQ(set_status(OVRA_DESTROY), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{});
    EXPECT_EQ(stored(), nullptr);
}

TEST_F(Hooks, DeleteOfARowThatIsNotActiveSucceedsWithoutTheSetChain) {
    make(OVRA_CREATEANDWAIT);
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(access(MIB_DEL, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{});
    EXPECT_EQ(stored(), nullptr);
}

TEST_F(Hooks, TakingAnActiveRowOutOfServiceSkipsTheSetChain) {
    make(OVRA_CREATEANDGO);
    EXPECT_EQ(set_status(OVRA_NOTINSERVICE), MIB_OK);
    EXPECT_EQ(set_modes(), Modes{});
    EXPECT_EQ(stored()->crateRowStatus, OVRA_NOTINSERVICE);
    EXPECT_EQ(stored()->old_crateRowStatus, OVRA_ACTIVE);
}

TEST_F(Hooks, CreateOfAPresentRowIsRefusedAndChangesNothing) {
    make(OVRA_CREATEANDGO);
    CrateRow before = *stored();
    for (int32_t status : {OVRA_CREATEANDGO, OVRA_CREATEANDWAIT}) {
        CrateRow row = crate(1, 2, 3, 4, 5);
        row.crateRowStatus = status;
        row.crateProfile = 99;
        EXPECT_EQ(access(MIB_SET, row, columns({PROFILE, STATUS})), MIB_FAIL);
        EXPECT_EQ(row.crateProfile, 99) << "the caller's buffer is as it was";
        EXPECT_EQ(row.crateRowStatus, status);
    }
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(access(MIB_CREATEGO, row, mibDefFlags), MIB_FAIL);
    EXPECT_EQ(access(MIB_CREATEWAIT, row, mibDefFlags), MIB_FAIL);
    EXPECT_TRUE(same_bytes(stored(), &before, sizeof(before)));
    EXPECT_TRUE(g_seen.empty());
}

TEST_F(Hooks, ARowStatusOutsideItsRangeIsStoredAndIdle) {
    make(OVRA_CREATEANDGO);
    EXPECT_EQ(set_status(42), MIB_OK);
    EXPECT_EQ(stored()->crateRowStatus, 42);
    EXPECT_EQ(set_modes(), Modes{});
}

// ---- refusals and what they leave ------------------------------------------------------------------

TEST_F(Hooks, SetOnAnAbsentRowWithoutACreateStatusFailsAndCreatesNothing) {
    CrateRow row = crate(1, 2, 3, 4, 5);
    row.crateRowStatus = OVRA_CREATEANDGO;
    EXPECT_EQ(access(MIB_SET, row, columns({PROFILE})), MIB_FAIL) << "the mask lacks the row status";
    for (int32_t status : {0, 1, 2, 3, 6}) {
        row.crateRowStatus = status;
        EXPECT_EQ(access(MIB_SET, row, mibDefFlags), MIB_FAIL) << status;
    }
    EXPECT_EQ(module.row_count(), 0);
    EXPECT_TRUE(g_seen.empty());
}

TEST_F(Hooks, AFailingSetCallbackTakesTheNewRowOutAgain) {
    g_set_answer = 0;
    CrateRow row = crate(1, 2, 3, 4, 5);
    row.crateRowStatus = OVRA_CREATEANDGO;
    EXPECT_EQ(access(MIB_SET, row, mibDefFlags), MIB_FAIL);
    EXPECT_EQ(set_modes(), Modes{MODE_CRE});
    EXPECT_EQ(stored(), nullptr);
    EXPECT_EQ(access(MIB_CREATEGO, row, mibDefFlags), MIB_FAIL);
    EXPECT_EQ(stored(), nullptr);
}

TEST_F(Hooks, AFailingCheckCallbackTakesTheNewRowOutAgain) {
    g_check_answer = 0;
    CrateRow row = crate(1, 2, 3, 4, 5);
    row.crateRowStatus = OVRA_CREATEANDWAIT;
    EXPECT_EQ(access(MIB_SET, row, mibDefFlags), MIB_FAIL);
    EXPECT_EQ(stored(), nullptr);
    EXPECT_EQ(set_modes(), Modes{});
}

TEST_F(Hooks, AFailedChangeLeavesTheRowAndTheCallersNewValues) {
    make(OVRA_CREATEANDGO);
    CrateRow before = *stored();
    g_set_answer = 0;
    CrateRow row = crate(1, 2, 3, 4, 5);
    row.crateProfile = 8;
    EXPECT_EQ(access(MIB_SET, row, columns({PROFILE})), MIB_FAIL);
    EXPECT_TRUE(same_bytes(stored(), &before, sizeof(before)));
    EXPECT_EQ(row.crateProfile, 8);
    EXPECT_EQ(row.old_crateProfile, 7);
    EXPECT_STREQ(row.crateName, "before");
}

TEST_F(Hooks, AFailedDeleteLeavesTheRow) {
    make(OVRA_CREATEANDGO);
    CrateRow before = *stored();
    g_set_answer = 0;
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(access(MIB_DEL, row, mibDefFlags), MIB_FAIL);
    EXPECT_EQ(set_status(OVRA_DESTROY), MIB_FAIL);
    ASSERT_NE(stored(), nullptr);
    EXPECT_TRUE(same_bytes(stored(), &before, sizeof(before)));
}

TEST_F(Hooks, SetWithoutChainsAndACreateStatusActivatesTheRowWithoutAnyCallback) {
    CrateRow row = crate(1, 2, 3, 4, 5);
    row.crateRowStatus = OVRA_CREATEANDGO;
    EXPECT_EQ(access(MIB_SET_S_N, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(stored()->crateRowStatus, OVRA_ACTIVE);
    EXPECT_TRUE(g_seen.empty());
}

// ---- the merge ------------------------------------------------------------------------------------

TEST_F(Hooks, OnlyFlaggedColumnsAreWrittenAndTheirShadowsHoldTheOldValues) {
    make(OVRA_CREATEANDGO);
    CrateRow row = crate(1, 2, 3, 4, 5);
    set_text(row.crateName, "after");
    row.crateProfile = 1234;
    set_text(row.crateProfName, "not flagged");
    EXPECT_EQ(access(MIB_SET_S_N, row, columns({NAME})), MIB_OK);
    EXPECT_STREQ(row.crateName, "after");
    EXPECT_STREQ(row.old_crateName, "before");
    EXPECT_EQ(row.crateProfile, 7);
    EXPECT_STREQ(row.crateProfName, "");
    EXPECT_TRUE(same_bytes(stored(), &row, sizeof(row)));
}

TEST_F(Hooks, ATextIsZeroFilledBehindItsEndAndNeverRunsOverItsColumn) {
    make(OVRA_CREATEANDGO);
    CrateRow row = crate(1, 2, 3, 4, 5);
    memset(row.crateName, 'x', sizeof(row.crateName));
    EXPECT_EQ(access(MIB_SET_S_N, row, columns({NAME})), MIB_OK);
    EXPECT_EQ(std::string(stored()->crateName), std::string(33, 'x'));
    memset(row.crateName, 'y', sizeof(row.crateName));
    row.crateName[2] = '\0';
    EXPECT_EQ(access(MIB_SET_S_N, row, columns({NAME})), MIB_OK);
    const char expected[34] = "yy";
    EXPECT_EQ(memcmp(stored()->crateName, expected, sizeof(expected)), 0);
}

TEST_F(Hooks, AStoredRowMayBeTheCallersBuffer) {
    make(OVRA_CREATEANDGO);
    CrateRow* row = stored();
    row->crateAlloc = 55;
    EXPECT_EQ(access(MIB_SET_S_N, *row, columns({ALLOC})), MIB_OK);
    EXPECT_EQ(stored()->crateAlloc, 55);
    EXPECT_STREQ(stored()->crateName, "before");
    EXPECT_EQ(access(MIB_GET_S, *row, mibDefFlags), MIB_OK);
    EXPECT_EQ(access(MIB_DEL_S_N, *row, mibDefFlags), MIB_OK);
    EXPECT_EQ(stored(), nullptr);
}

class GapTable : public testing::Test {
protected:
    GapTable() {
        module.initialize_table_data();
        row.gapIndex = 1;
        row.gapRowStatus = OVRA_CREATEANDGO;
        EXPECT_EQ(MibAccessHandle(MIB_SET, 0, module.did(), &row, columns({3}), 0), MIB_OK);
        row = {};
        row.gapIndex = 1;
        row.gapFirst = 11;
        row.gapLast = 55;
    }
    char set(const MIB_Flags_t& flags) { return MibAccessHandle(MIB_SET, 0, module.did(), &row, flags, 0); }
    LogTap log;
    TableModule& module = gap_module();
    GapRow row{};
};

TEST_F(GapTable, ColumnOneIsWrittenWhereItIsAColumn) {
    EXPECT_EQ(set(columns({1})), MIB_OK);
    EXPECT_EQ(row.gapFirst, 11);
    EXPECT_EQ(row.gapLast, 0);
}

TEST_F(GapTable, TheNumberOfAnIndexColumnInAMaskIsIgnored) {
    EXPECT_EQ(set(columns({2, 5})), MIB_OK);
    EXPECT_EQ(row.gapLast, 55);
    EXPECT_EQ(row.gapIndex, 1);
}

TEST_F(GapTable, ANumberThatIsNoColumnRefusesTheWrite) {
    EXPECT_EQ(set(columns({4, 5})), MIB_FAIL);
    GapRow key{};
    key.gapIndex = 1;
    EXPECT_EQ(static_cast<GapRow*>(row_get(module.did(), &key))->gapLast, 0);
}

TEST_F(GapTable, NumbersOutsideTheColumnsAreIgnored) {
    EXPECT_EQ(set(columns({0, 5, 6, 127})), MIB_OK);
    EXPECT_EQ(row.gapLast, 55);
}

TEST_F(GapTable, ARefusedMaskLeavesNoNewRow) {
    row.gapIndex = 2;
    row.gapRowStatus = OVRA_CREATEANDGO;
    EXPECT_EQ(set(columns({3, 4})), MIB_FAIL);
    EXPECT_EQ(module.row_count(), 1);
}

// ---- reads -----------------------------------------------------------------------------------------

TEST_F(Hooks, WhatAGetCallbackWroteIsInTheTableFromThenOn) {
    make(OVRA_CREATEANDGO);
    g_get_alloc = 321;
    CrateRow row = crate(1, 2, 3, 4, 5);
    EXPECT_EQ(access(MIB_GET, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(row.crateAlloc, 321);
    EXPECT_EQ(stored()->crateAlloc, 321);
}

TEST_F(Hooks, GetNextOnAnAbsentKeyFailsAlthoughAGreaterRowExists) {
    make(OVRA_CREATEANDGO);
    CrateRow row = crate(1, 2, 3, 4, 4);
    EXPECT_EQ(access(MIB_GETNEXT_S, row, mibDefFlags), MIB_FAIL);
    EXPECT_EQ(row.crateId, 4u);
    EXPECT_TRUE(log.texts().back().find("start failure") == std::string::npos) << "reads fail silently";
}

TEST_F(Hooks, FirstNextAndFuzzyReadsWalkTheTable) {
    CrateRow row = crate(1, 1, 1, 1, 1);
    EXPECT_EQ(access(MIB_GETFIRST_S, row, mibDefFlags), MIB_FAIL) << "empty table";
    EXPECT_EQ(access(MIB_GET_FUZZY_S, row, mibDefFlags), MIB_FAIL);
    for (uint32_t id : {3u, 1u, 2u}) {
        row = crate(1, 1, 1, 1, id);
        row.crateRowStatus = OVRA_CREATEANDGO;
        ASSERT_EQ(access(MIB_SET_S_N, row, columns({STATUS})), MIB_OK);
    }
    row = {};
    EXPECT_EQ(access(MIB_GETFIRST_S, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(row.crateId, 1u);
    EXPECT_EQ(access(MIB_GETNEXT_S, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(row.crateId, 2u);
    EXPECT_EQ(access(MIB_GETNEXT_S, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(row.crateId, 3u);
    EXPECT_EQ(access(MIB_GETNEXT_S, row, mibDefFlags), MIB_FAIL);
    row = crate(1, 1, 1, 1, 2);
    EXPECT_EQ(access(MIB_GET_FUZZY_S, row, mibDefFlags), MIB_OK);
    EXPECT_EQ(row.shelfID, 1);
}

TEST_F(Hooks, AReadOfAnAbsentRowLeavesTheBuffer) {
    CrateRow row = crate(9, 9, 9, 9, 9);
    row.crateProfile = 5;
    EXPECT_EQ(access(MIB_GET, row, mibDefFlags), MIB_FAIL);
    EXPECT_EQ(row.crateProfile, 5);
}

// ---- creation, texts --------------------------------------------------------------------------------

TEST(Engine, ANewRowHasTheDefaultsInColumnsAndShadows) {
    LogTap log;
    mix_module().initialize_table_data();
    auto* row = static_cast<MixRow*>(mix_module().create_entry_at(-3, 7u));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->mixA, -3);
    EXPECT_EQ(row->mixB, 7u);
    EXPECT_EQ(row->mixPort, 4095u);
    EXPECT_EQ(row->old_mixPort, 4095u);
    EXPECT_EQ(row->mixMode, -1);
    EXPECT_STREQ(row->mixType, "KLM-618");
    EXPECT_STREQ(row->old_mixType, "KLM-618");
    const unsigned char address[] = {10, 0, 0, 1};
    EXPECT_EQ(memcmp(&row->mixAddress, address, 4), 0);
    EXPECT_EQ(row->mixRowStatus, OVRA_NONEXISTENT);
}

TEST(Engine, RowsMadeByTheNotificationSideAreLoggedAsSnmps) {
    LogTap log;
    mix_module().initialize_table_data();
    setOpOwnerSnmp(mix_module().did());
    void* row = mix_module().create_entry_at(1, 4000000000u);
    mix_module().remove_entry(row);
    clearOpOwnerSnmp(mix_module().did());
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{
                               {OV_LOG_LVL_INFO, "SNMP", "create entry [mixA:1 mixB:-294967296 ] "},
                               {OV_LOG_LVL_INFO, "SNMP", "remove entry [mixA:1 mixB:-294967296 ] "},
                           }));
    EXPECT_EQ(mix_module().row_count(), 0);
}

TEST(Engine, TheIndexTextIsCutToItsBuffer) {
    CrateRow row = crate(1, 2, 3, 4, 5);
    char text[12] = "";
    EXPECT_STREQ(crate_module().index_string(&row, text, sizeof(text)), "entry [shel");
    EXPECT_STREQ(crate_module().index_string(nullptr, text, sizeof(text)), "NULL");
}

TEST(Engine, ADumpShowsEveryColumnByItsKindAndTheRowStatusInWords) {
    MixRow row{};
    row.mixA = -1;
    row.mixB = 4000000000u;
    row.mixCount = 18446744073709551615u;
    const unsigned char address[] = {192, 168, 1, 1};
    memcpy(&row.mixAddress, address, 4);
    row.mixRowStatus = OVRA_ACTIVE;
    row.mixMac[5] = 0xAB;
    set_text(row.mixText, "text");
    row.mixPort = 4095;
    row.mixMode = -7;
    testing::internal::CaptureStdout();
    mix_module().dump(&row);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n************************mixTable Dump**********************\n"
              "mixA                          :-1\n"
              "mixB                          :4000000000\n"
              "mixCount                      :18446744073709551615\n"
              "mixAddress                    :192.168.1.1\n"
              "mixRowStatus                  : ACTIVE \n"
              "mixMac                        :0000000000AB\n"
              "mixText                       :text\n"
              "mixPort                       :4095\n"
              "mixMode                       :-7\n"
              "mixType                       :\n"
              "************************mixTable Dump**********************\n");
    row.mixRowStatus = 7;
    EXPECT_NE(mix_module().dump_text(&row).find(":UNKNOWN Rowstatus\n"), std::string::npos);
}

TEST(Engine, TheOidBearsTheProductsEnterpriseNumber) {
    private_root::run([] {
        fake_product("[ $1 = PDT_INFO_ENTERPRISE_ID ] && echo 4242");
        mix_module().init_oid();
        std::vector<unsigned long> arcs(mix_module().table_oid().begin(), mix_module().table_oid().end());
        EXPECT_EQ(arcs, (std::vector<unsigned long>{1, 3, 6, 1, 4, 1, 4242, 1, 1, 1, 1, 9, 1}));
    });
}

TEST(Engine, AProductWithoutANumberHasTheBuiltInOne) {
    private_root::run([] {
        fake_product("exit 1");
        mix_module().init_oid();
        EXPECT_EQ(mix_module().table_oid()[6], 47281u);
    });
}

TEST(Engine, ModulesAreFoundByNameAndIndexAndRowsByTheirIndex) {
    LogTap log;
    mix_module().initialize_table_data();
    mix_module().create_entry_at(1, 2);
    EXPECT_EQ(table_module_find("mixTable"), &mix_module());
    EXPECT_EQ(table_module_find(int{SFAN}), &mix_module());
    EXPECT_EQ(table_module_find("noTable"), nullptr);
    EXPECT_EQ(mix_module().row_text(std::vector<uint32_t>{1, 3}), "");
    EXPECT_EQ(mix_module().row_text(std::vector<uint32_t>{1}), "");
    EXPECT_NE(mix_module().row_text(std::vector<uint32_t>{1, 2}).find("mixB                          :2\n"),
              std::string::npos);
}

TEST(Engine, AClassObjectLeadsItsHooksToTheModule) {
    LogTap log;
    mix_module().initialize_table_data();
    TableModuleClass* object = mix_module().class_new();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->handler.mibSave, nullptr);
    EXPECT_EQ(object->handler.mibSetDefRow, nullptr);
    EXPECT_EQ(object->handler.mibQBC, nullptr);
    MixRow row{};
    row.mixA = 4;
    EXPECT_EQ(object->handler.mibAccessStart(&object->handler, MIB_CREATEGO, &row, mibDefFlags), 1);
    EXPECT_EQ(object->handler.mibGetRowStatus(&object->handler, &row), MODE_CRE);
    object->handler.mibAccessFinish(&object->handler, 1, MIB_CREATEGO, &row, mibDefFlags);
    EXPECT_EQ(row.mixRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(mix_module().row_count(), 1);
    delete object;
}

// ---- modes -------------------------------------------------------------------------------------------

TEST(Engine, TheModeFollowsFromRowStatusAndItsShadow) {
    for (int32_t status = 0; status <= 8; ++status) {
        for (int32_t old_status = 0; old_status <= 8; ++old_status) {
            CrateRow row{};
            row.crateRowStatus = status;
            row.old_crateRowStatus = old_status;
            int expected = MODE_IDLE;
            if (status == 4 || (status == 1 && old_status == 2))
                expected = MODE_CRE;
            else if (status == 1)
                expected = MODE_CHG;
            else if (status == 6 && old_status == 1)
                expected = MODE_DEL;
            EXPECT_EQ(crate_module().row_mode(&row), expected) << status << " " << old_status;
        }
    }
}

} // namespace
