#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "../support/log_tap.h"
#include "fake_table.h"

namespace {

std::string g_order; // one letter per callback that ran
MIB_Flags_t g_flags; // what the last one got
MIBDID g_did;

template <char Letter, int Answer = 1>
int callback(MIBDID did, void*, MIB_Flags_t flags) {
    g_order += Letter;
    g_flags = flags;
    g_did = did;
    return Answer;
}

class Chains : public testing::Test {
protected:
    Chains() { g_order.clear(); }

    char add(int type, MIB_callback_ptr fptr, MIB_Flags_t flags = mibDefFlags, int appid = 1,
             const char* name = "app") {
        return MibRegisterCallback(table.did(), type, name, appid, fptr, flags);
    }
    char run(int type, MIB_Flags_t flags = mibDefFlags) {
        g_order.clear();
        return Run_MibCallbackFunc(0, table.did(), type, &row, flags);
    }
    char conflict(int appid, int type, MIB_Flags_t flags) {
        return IfMibFlagsConflict(table.did(), appid, type, flags);
    }

    LogTap log;
    FakeTable table{SONU};
    FakeRow row{1, 1, 0, OVRA_ACTIVE, 0, OVRA_ACTIVE};
};

using Strings = std::vector<std::string>;

TEST_F(Chains, TheCallbackRegisteredLaterIsCalledEarlier) {
    add(CALLBACK_CHECK, callback<'a'>);
    add(CALLBACK_CHECK, callback<'b'>);
    add(CALLBACK_CHECK, callback<'c'>);
    EXPECT_EQ(run(CALLBACK_CHECK), 1);
    EXPECT_EQ(g_order, "cba");
    EXPECT_EQ(run(CALLBACK_GET), 1);
    EXPECT_EQ(g_order, "");
}

TEST_F(Chains, OneFunctionIsInAChainOnceWhateverTheApplication) {
    EXPECT_EQ(add(CALLBACK_SET, callback<'a'>, mibDefFlags, 1), 1);
    EXPECT_EQ(add(CALLBACK_SET, callback<'a'>, mibDefFlags, 1), 0);
    EXPECT_EQ(add(CALLBACK_SET, callback<'a'>, columns({3}), 2), 0);
    EXPECT_EQ(add(CALLBACK_GET, callback<'a'>), 1);
    run(CALLBACK_SET);
    EXPECT_EQ(g_order, "a");
}

TEST_F(Chains, AKindOutside1To3IsRefused) {
    for (int type : {-1, 0, 4}) {
        EXPECT_EQ(add(type, callback<'a'>), 0);
        EXPECT_EQ(run(type), 0);
        MibUnRegisterCallback(table.did(), type, callback<'a'>);
    }
    EXPECT_EQ(add(CALLBACK_GET, nullptr), 0);
}

TEST_F(Chains, OnlyCallbacksForTheColumnsAreCalledAndTheyGetTheCallersColumns) {
    add(CALLBACK_SET, callback<'a'>, columns({2, 40}));
    add(CALLBACK_SET, callback<'b'>, columns({3}));
    add(CALLBACK_SET, callback<'c'>, columns({127}));
    run(CALLBACK_SET, columns({40, 50}));
    EXPECT_EQ(g_order, "a");
    EXPECT_EQ(std::memcmp(&g_flags, &(const MIB_Flags_t&)columns({40, 50}), sizeof(g_flags)), 0);
    EXPECT_EQ(g_did, table.did());
    run(CALLBACK_SET, columns({3, 127}));
    EXPECT_EQ(g_order, "cb");
    EXPECT_EQ(run(CALLBACK_SET, columns({4})), 1);
    EXPECT_EQ(g_order, "");
}

// The creation of a row that waited: what it got meanwhile nobody has seen.
TEST_F(Chains, AnActivationMeansEveryColumn) {
    table.object.base.mibIsActivation = [](MibHandler*, const void* pending) {
        return static_cast<const FakeRow*>(pending)->old_status == OVRA_NOTINSERVICE ? 1 : 0;
    };
    add(CALLBACK_CHECK, callback<'c'>, columns({FAKE_COLUMN_VALUE}));
    add(CALLBACK_SET, callback<'s'>, columns({FAKE_COLUMN_VALUE}));
    add(CALLBACK_GET, callback<'g'>, columns({FAKE_COLUMN_VALUE}));
    row.old_status = OVRA_NOTINSERVICE;
    for (const int type : {CALLBACK_CHECK, CALLBACK_SET}) {
        EXPECT_EQ(run(type, columns({FAKE_COLUMN_STATUS})), 1);
        EXPECT_EQ(g_order, type == CALLBACK_SET ? "s" : "c");
        EXPECT_EQ(std::memcmp(&g_flags, &mibDefFlags, sizeof g_flags), 0);
    }
    EXPECT_EQ(run(CALLBACK_GET, columns({FAKE_COLUMN_STATUS})), 1);
    EXPECT_EQ(g_order, "");
    row.old_status = OVRA_ACTIVE;
    EXPECT_EQ(run(CALLBACK_SET, columns({FAKE_COLUMN_STATUS})), 1);
    EXPECT_EQ(g_order, "");
}

TEST_F(Chains, TheFirstRefusalStopsTheChain) {
    add(CALLBACK_CHECK, callback<'a'>);
    add(CALLBACK_CHECK, callback<'b', 0>, mibDefFlags, 7, "second");
    add(CALLBACK_CHECK, callback<'c'>);
    EXPECT_EQ(run(CALLBACK_CHECK), 0);
    EXPECT_EQ(g_order, "cb");
    EXPECT_EQ(log.texts(),
              (Strings{"handler second return error! talble SONU id 1 callback type: CALLBACK_CHECK "}));
}

TEST_F(Chains, TheSetChainRunsOnlyForARowThatConcernsTheHardware) {
    add(CALLBACK_SET, callback<'a', 0>);
    row.status = OVRA_NOTINSERVICE;
    EXPECT_EQ(run(CALLBACK_SET), 1);
    EXPECT_EQ(g_order, "");
    row.status = OVRA_DESTROY;
    row.old_status = OVRA_ACTIVE;
    EXPECT_EQ(run(CALLBACK_SET), 0);
    EXPECT_EQ(g_order, "a");
}

TEST_F(Chains, UnregisteringTakesOutOneCallbackOfOneChain) {
    add(CALLBACK_GET, callback<'a'>);
    add(CALLBACK_GET, callback<'b'>);
    add(CALLBACK_GET, callback<'c'>);
    add(CALLBACK_CHECK, callback<'b'>);
    MibUnRegisterCallback(table.did(), CALLBACK_GET, callback<'b'>);
    MibUnRegisterCallback(table.did(), CALLBACK_GET, callback<'x'>);
    run(CALLBACK_GET);
    EXPECT_EQ(g_order, "ca");
    run(CALLBACK_CHECK);
    EXPECT_EQ(g_order, "b");
    MibUnRegisterCallback(table.did(), CALLBACK_GET, callback<'c'>);
    MibUnRegisterCallback(table.did(), CALLBACK_GET, callback<'a'>);
    EXPECT_EQ(table.control->callback_get, nullptr);
    EXPECT_EQ(add(CALLBACK_GET, callback<'a'>), 1);
    run(CALLBACK_GET);
    EXPECT_EQ(g_order, "a");
}

// A callback that takes out itself and its neighbours and adds new ones.
int changes_its_chain(MIBDID did, void* row, MIB_Flags_t flags) {
    g_order += 'x';
    MibUnRegisterCallback(did, CALLBACK_CHECK, changes_its_chain);
    MibUnRegisterCallback(did, CALLBACK_CHECK, callback<'b'>);
    MibUnRegisterCallback(did, CALLBACK_CHECK, callback<'d'>);
    MibRegisterCallback(did, CALLBACK_CHECK, "new", 1, callback<'n'>, mibDefFlags);
    return g_order.size() < 10 && Run_MibCallbackFunc(0, did, CALLBACK_CHECK, row, flags) == 1;
}

TEST_F(Chains, AChainMayBeChangedByItsOwnCallbacks) {
    add(CALLBACK_CHECK, callback<'a'>);
    add(CALLBACK_CHECK, callback<'b'>);
    add(CALLBACK_CHECK, changes_its_chain);
    add(CALLBACK_CHECK, callback<'d'>);
    EXPECT_EQ(run(CALLBACK_CHECK), 1);
    EXPECT_EQ(g_order, "dx"
                       "na"
                       "a"); // the inner run sees the new chain, the outer one goes on behind x
    EXPECT_EQ(run(CALLBACK_CHECK), 1);
    EXPECT_EQ(g_order, "na");
}

TEST_F(Chains, TheNameIsKeptUpTo30Characters) {
    add(CALLBACK_CHECK, callback<'a', 0>, mibDefFlags, 9, "0123456789012345678901234567890123456789");
    const MIB_callback* node = table.control->callback_check;
    EXPECT_STREQ(node->app.appName, "012345678901234567890123456789");
    EXPECT_EQ(node->app.appId, 9);
    EXPECT_EQ(node->prev, nullptr);
    EXPECT_EQ(node->next, nullptr);
    add(CALLBACK_CHECK, callback<'b'>, mibDefFlags, 9, nullptr);
    EXPECT_STREQ(table.control->callback_check->app.appName, "");
    EXPECT_EQ(table.control->callback_check->next, node);
    EXPECT_EQ(node->prev, table.control->callback_check);
}

TEST_F(Chains, RegisteringTheTableAgainEmptiesItsChains) {
    add(CALLBACK_GET, callback<'a'>);
    ovra_mutex_t* mutex = getMutex(table.did());
    ovraMib_RegisterSnmpHanlder(table.did(), nullptr, &table.object.base, 8, sizeof(FakeRow));
    EXPECT_EQ(run(CALLBACK_GET), 1);
    EXPECT_EQ(g_order, "");
    EXPECT_EQ(getMutex(table.did()), mutex);
}

TEST(Columns, OverlapInAnyWordIsFound) {
    for (unsigned column : {0u, 1u, 31u, 32u, 63u, 64u, 95u, 96u, 127u}) {
        EXPECT_EQ(MibFlagsCheck(columns({column}), mibDefFlags), 1) << column;
        EXPECT_EQ(MibFlagsCheck(columns({column}), columns({column})), 1) << column;
        EXPECT_EQ(MibFlagsCheck(columns({column}), columns({(column + 1) % 128})), 0) << column;
    }
    EXPECT_EQ(MibFlagsCheck(MIB_Flags_t{}, mibDefFlags), 0);
}

TEST(Columns, ColumnNIsBitNOfTheSet) {
    MIB_Flags_t set{};
    mib_flag_set(set, 37);
    EXPECT_EQ(set.flags[1], 1u << 5);
    EXPECT_TRUE(mib_flag_is_set(set, 37));
    mib_flag_clear(set, 37);
    EXPECT_EQ(set.flags[1], 0u);
    mib_flag_set(set, 128);
    mib_flag_clear(set, 128);
    EXPECT_FALSE(mib_flag_is_set(mibDefFlags, 128));
}

// ---- conflicts ------------------------------------------------------------------------------------

TEST_F(Chains, AGetCallbackConflictsWithOneOfTheSameApplicationOrColumns) {
    add(CALLBACK_GET, callback<'a'>, columns({2}), 5, "first app");
    EXPECT_EQ(conflict(5, CALLBACK_GET, columns({9})), 1);
    EXPECT_EQ(conflict(6, CALLBACK_GET, columns({2})), 1);
    EXPECT_EQ(
        log.texts(),
        Strings(2, "some attributes already regisetred getcallback by first app in get_call_back list"));
    EXPECT_EQ(conflict(6, CALLBACK_GET, columns({9})), 0);
    EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(Chains, AGetCallbackConflictsWithASetCallbackOfTheSameApplicationAndColumns) {
    add(CALLBACK_SET, callback<'a'>, columns({2}), 5, "first app");
    EXPECT_EQ(conflict(5, CALLBACK_GET, columns({2})), 1);
    EXPECT_EQ(log.texts(),
              (Strings{"some attributes already regisetred in setcallback by same app first app"}));
    EXPECT_EQ(conflict(5, CALLBACK_GET, columns({3})), 0);
    EXPECT_EQ(conflict(6, CALLBACK_GET, columns({2})), 0);
}

TEST_F(Chains, ASetCallbackConflictsWithAGetCallbackOfTheSameApplicationAndColumns) {
    add(CALLBACK_GET, callback<'a'>, columns({2}), 5, "first app");
    add(CALLBACK_SET, callback<'b'>, columns({2}), 5, "first app");
    EXPECT_EQ(conflict(5, CALLBACK_SET, columns({2})), 1);
    EXPECT_EQ(log.texts(),
              (Strings{"some attributes already regisetred in getcallback by same app first app"}));
    EXPECT_EQ(conflict(5, CALLBACK_SET, columns({3})), 0);
    EXPECT_EQ(conflict(6, CALLBACK_SET, columns({2})), 0);
}

TEST_F(Chains, CheckCallbacksAndUnknownTablesNeverConflict) {
    add(CALLBACK_CHECK, callback<'a'>, columns({2}), 5);
    add(CALLBACK_GET, callback<'a'>, columns({2}), 5);
    EXPECT_EQ(conflict(5, CALLBACK_CHECK, columns({2})), 0);
    EXPECT_EQ(IfMibFlagsConflict(nullptr, 5, CALLBACK_GET, columns({2})), 0);
    EXPECT_TRUE(log.lines().empty());
}

} // namespace
