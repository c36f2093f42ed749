// SET by managers: the phases, their errors, and what stays in the row.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "../support/log_tap.h"
#include "aclExtendRuleTable.h"
#include "gemPmThrTable.h"
#include "rmServiceMacFilterStaticTable.h"
#include "sOnuExtendInfoTable.h"
#include "sOnuTable.h"
#include "sPonTable.h"
#include "sRmUniStatusTable.h"
#include "sRmWifiTable.h"
#include "sTcontTable.h"
#include "snmp_pdu.h"

namespace {

constexpr oid ALLOC = 2, NAME = 3, PROFILE = 4, PROFILE_NAME = 5, STATUS = 6;
const Oid ROW = {1, 2, 3, 4, 5};
const Oid OTHER = {1, 2, 3, 4, 6};

struct Call {
    std::string chain;
    int mode;
    sTcontTable_entry row;
    MIB_Flags_t flags;
};
std::vector<Call> g_calls;
int g_check, g_set, g_owner;

int on_check(MIBDID did, void* row, MIB_Flags_t flags) {
    g_calls.push_back({"check", MibRowStatusGet(did, row), *static_cast<sTcontTable_entry*>(row), flags});
    return g_check;
}
int on_set(MIBDID did, void* row, MIB_Flags_t flags) {
    g_calls.push_back({"set", MibRowStatusGet(did, row), *static_cast<sTcontTable_entry*>(row), flags});
    g_owner = getOpOwner(did);
    return g_set;
}
int remove_row(MIBDID did, void* row, MIB_Flags_t) {
    sTcontTable_entry key = *static_cast<sTcontTable_entry*>(row);
    row_del(did, &key);
    return 1;
}

class SnmpSet : public SnmpTest {
protected:
    SnmpSet() : module(table_module_sTcontTable()) {
        initialize_table_sTcontTable();
        MibRegisterCallback(module.did(), CALLBACK_CHECK, "check", 0, on_check, mibDefFlags);
        MibRegisterCallback(module.did(), CALLBACK_SET, "set", 0, on_set, mibDefFlags);
        g_calls.clear();
        g_check = g_set = 1;
    }
    ~SnmpSet() override {
        // The log is captured for one test only, and the store outlives it.
        initialize_table_sTcontTable_data();
    }
    sTcontTable_entry* row(const Oid& index = ROW) {
        sTcontTable_entry key{};
        sTcontTable_SetIndex(&key, int32_t(index[0]), int32_t(index[1]), int32_t(index[2]), int32_t(index[3]),
                             uint32_t(index[4]));
        return static_cast<sTcontTable_entry*>(row_get(module.did(), &key));
    }
    void make(int32_t status = OVRA_ACTIVE, const Oid& index = ROW) {
        sTcontTable_createEntry(int32_t(index[0]), int32_t(index[1]), int32_t(index[2]), int32_t(index[3]),
                                uint32_t(index[4]));
        strcpy(row(index)->sTcontTableTcontName, "before");
        row(index)->sTcontTableBwProfileId = 7;
        row(index)->sTcontTableRowStatus = status;
        row(index)->old_sTcontTableRowStatus = 0;
    }
    int set_status(int32_t status, const Oid& index = ROW) {
        return Pdu(module).integer(STATUS, index, status).set();
    }
    std::vector<int> modes(const std::string& chain) {
        std::vector<int> modes;
        for (const Call& call : g_calls) {
            if (call.chain == chain)
                modes.push_back(call.mode);
        }
        return modes;
    }

    LogTap log;
    TableModule& module;
};

// ---- row status life -----------------------------------------------------------------------------

TEST_F(SnmpSet, CreateAndGoMakesAnActiveRowWithModeCreate) {
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).text(NAME, ROW, "tc").integer(PROFILE, ROW, 9);
    ASSERT_EQ(pdu.set(), 0);
    ASSERT_NE(row(), nullptr);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(row()->old_sTcontTableRowStatus, OVRA_CREATEANDGO);
    EXPECT_STREQ(row()->sTcontTableTcontName, "tc");
    EXPECT_EQ(row()->sTcontTableBwProfileId, 9);
    EXPECT_EQ(modes("set"), std::vector<int>{MODE_CRE});
    EXPECT_EQ(modes("check"), std::vector<int>{MODE_CRE});
    EXPECT_TRUE(module.changed());
}

TEST_F(SnmpSet, CreateFindsItsRowStatusAnywhereInTheRequest) {
    Pdu pdu(module);
    pdu.text(NAME, ROW, "tc").integer(STATUS, ROW, OVRA_CREATEANDGO);
    ASSERT_EQ(pdu.set(), 0);
    EXPECT_STREQ(row()->sTcontTableTcontName, "tc");
}

TEST_F(SnmpSet, CreateAndWaitMakesARowOutOfServiceThatTheApplicationDoesntSee) {
    ASSERT_EQ(set_status(OVRA_CREATEANDWAIT), 0);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_NOTINSERVICE);
    EXPECT_EQ(row()->old_sTcontTableRowStatus, OVRA_CREATEANDWAIT);
    EXPECT_TRUE(modes("set").empty());
    EXPECT_EQ(modes("check"), std::vector<int>{MODE_IDLE});
}

TEST_F(SnmpSet, ActivationOfAWaitingRowIsACreate) {
    ASSERT_EQ(set_status(OVRA_CREATEANDWAIT), 0);
    ASSERT_EQ(set_status(OVRA_ACTIVE), 0);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(row()->old_sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(modes("set"), std::vector<int>{MODE_CRE});
    ASSERT_EQ(Pdu(module).integer(PROFILE, ROW, 3).set(), 0);
    EXPECT_EQ(modes("set"), (std::vector<int>{MODE_CRE, MODE_CHG}));
}

TEST_F(SnmpSet, ActivationAnywhereInTheRequestIsACreateOnce) {
    ASSERT_EQ(set_status(OVRA_CREATEANDWAIT), 0);
    ASSERT_EQ(Pdu(module).integer(STATUS, ROW, OVRA_ACTIVE).integer(PROFILE, ROW, 3).set(), 0);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(row()->old_sTcontTableRowStatus, OVRA_ACTIVE);
    ASSERT_EQ(Pdu(module).integer(PROFILE, ROW, 4).set(), 0);
    EXPECT_EQ(modes("set"), (std::vector<int>{MODE_CRE, MODE_CHG}));
}

TEST_F(SnmpSet, DestroyOfAnActiveRowRemovesItWithModeDelete) {
    make();
    ASSERT_EQ(set_status(OVRA_DESTROY), 0);
    EXPECT_EQ(row(), nullptr);
    EXPECT_EQ(modes("set"), std::vector<int>{MODE_DEL});
}

TEST_F(SnmpSet, DestroyOfARowOutOfServiceIsUnseenByTheApplication) {
    make(OVRA_NOTINSERVICE);
    ASSERT_EQ(set_status(OVRA_DESTROY), 0);
    EXPECT_EQ(row(), nullptr);
    EXPECT_TRUE(modes("set").empty());
}

TEST_F(SnmpSet, PlainColumnOfAnActiveRowIsAChange) {
    make();
    ASSERT_EQ(Pdu(module).integer(PROFILE, ROW, 8).set(), 0);
    EXPECT_EQ(row()->sTcontTableBwProfileId, 8);
    EXPECT_EQ(row()->old_sTcontTableBwProfileId, 7);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(modes("set"), std::vector<int>{MODE_CHG});
}

TEST_F(SnmpSet, AnObjectOfALineCardIsNotTakenOutOfService) {
    make();
    const sTcontTable_entry before = *row();
    EXPECT_EQ(set_status(OVRA_NOTINSERVICE), SNMP_ERR_INCONSISTENTVALUE);
    Pdu pdu(module);
    pdu.integer(PROFILE, ROW, 8).integer(STATUS, ROW, OVRA_NOTINSERVICE);
    EXPECT_EQ(pdu.set(), SNMP_ERR_INCONSISTENTVALUE);
    EXPECT_EQ(std::memcmp(&before, row(), sizeof(before)), 0);
    EXPECT_TRUE(g_calls.empty());
    make(OVRA_NOTINSERVICE, OTHER);
    EXPECT_EQ(set_status(OVRA_NOTINSERVICE, OTHER), 0); // it waits already
}

TEST_F(SnmpSet, ARowThatReachesNoCardIsTakenOutOfService) {
    initialize_table_gemPmThrTable();
    TableModule& threshold = table_module_gemPmThrTable();
    gemPmThrTable_entry* profile = gemPmThrTable_createEntry(1);
    set_row_active(threshold, profile);
    const oid status = gemPmThrTable_column::gpmThrRowStatus;
    EXPECT_EQ(Pdu(threshold).integer(status, {1}, OVRA_NOTINSERVICE).set(), 0);
    EXPECT_EQ(profile->gpmThrRowStatus, OVRA_NOTINSERVICE);
    EXPECT_EQ(profile->old_gpmThrRowStatus, OVRA_ACTIVE);
}

// ---- errors --------------------------------------------------------------------------------------

TEST_F(SnmpSet, CreateAndGoOnAnExistingRowGivesInconsistentValue) {
    make();
    EXPECT_EQ(set_status(OVRA_CREATEANDGO), SNMP_ERR_INCONSISTENTVALUE);
    EXPECT_EQ(set_status(OVRA_CREATEANDWAIT), SNMP_ERR_INCONSISTENTVALUE);
    ASSERT_NE(row(), nullptr);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_STREQ(row()->sTcontTableTcontName, "before");
}

TEST_F(SnmpSet, RowThatComesIntoBeingBetweenTheReservesGivesInconsistentValue) {
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO);
    pdu.run(MODE_SET_RESERVE1);
    make();
    pdu.run(MODE_SET_RESERVE2);
    EXPECT_EQ(pdu.error(), SNMP_ERR_INCONSISTENTVALUE);
    pdu.run(MODE_SET_FREE);
    ASSERT_NE(row(), nullptr);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
}

TEST_F(SnmpSet, AbsentRowWithoutRowStatusGivesResourceUnavailable) {
    EXPECT_EQ(Pdu(module).integer(PROFILE, ROW, 8).set(), SNMP_ERR_RESOURCEUNAVAILABLE);
    EXPECT_EQ(module.row_count(), 0);
}

TEST_F(SnmpSet, RowStatusOfAnAbsentRowMayOnlyCreate) {
    EXPECT_EQ(set_status(OVRA_ACTIVE), SNMP_ERR_INCONSISTENTVALUE);
    EXPECT_EQ(set_status(OVRA_NOTINSERVICE), SNMP_ERR_INCONSISTENTVALUE);
}

TEST_F(SnmpSet, RowStatusOutsideOfItsValuesGivesWrongValue) {
    make();
    for (int32_t value : {0, 3, 7, -1, 2147483647})
        EXPECT_TRUE(set_status(value) == SNMP_ERR_WRONGVALUE ||
                    set_status(value) == SNMP_ERR_INCONSISTENTVALUE)
            << value;
    EXPECT_EQ(set_status(7), SNMP_ERR_WRONGVALUE);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
}

TEST_F(SnmpSet, ReadOnlyColumnGivesNotWritable) {
    make();
    EXPECT_EQ(Pdu(module).integer(ALLOC, ROW, 1).set(), SNMP_ERR_NOTWRITABLE);
    EXPECT_EQ(row()->sTcontTableAllocID, 0);
}

TEST_F(SnmpSet, WrongTypesAndLengthsAreNamed) {
    make();
    EXPECT_EQ(Pdu(module).text(PROFILE, ROW, "8").set(), SNMP_ERR_WRONGTYPE);
    EXPECT_EQ(Pdu(module).integer(PROFILE, ROW, 8, ASN_UNSIGNED).set(), SNMP_ERR_WRONGTYPE);
    EXPECT_EQ(Pdu(module).integer(NAME, ROW, 8).set(), SNMP_ERR_WRONGTYPE);
    EXPECT_EQ(Pdu(module).text(NAME, ROW, std::string(34, 'x')).set(), SNMP_ERR_WRONGLENGTH);
    EXPECT_EQ(Pdu(module).text(STATUS, ROW, "4").set(), SNMP_ERR_WRONGTYPE);
    EXPECT_EQ(Pdu(module).text(STATUS, ROW, "").set(), SNMP_ERR_WRONGTYPE);
    EXPECT_STREQ(row()->sTcontTableTcontName, "before");
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(SnmpSet, TextOfAllItsBytesIsTakenAndAnEmptyOneToo) {
    make();
    ASSERT_EQ(Pdu(module).text(NAME, ROW, std::string(33, 'x')).set(), 0);
    EXPECT_EQ(row()->sTcontTableTcontName, std::string(33, 'x'));
    EXPECT_STREQ(row()->old_sTcontTableTcontName, "before");
    ASSERT_EQ(Pdu(module).text(NAME, ROW, "").set(), 0);
    EXPECT_STREQ(row()->sTcontTableTcontName, "");
    ASSERT_EQ(Pdu(module).text(NAME, ROW, std::string("a\0b", 3)).set(), 0);
    EXPECT_EQ(std::string(row()->sTcontTableTcontName, 34), "a" + std::string(33, '\0'));
}

TEST_F(SnmpSet, FirstFailedCheckEndsThePhase) {
    make();
    Pdu pdu(module);
    pdu.integer(ALLOC, ROW, 1).text(PROFILE, ROW, "8").run(MODE_SET_RESERVE1);
    EXPECT_EQ(pdu.errors(), (std::vector<int>{SNMP_ERR_NOTWRITABLE, 0}));
}

TEST_F(SnmpSet, WrongIndexesAndColumnsAreRefusedWithoutARow) {
    make();
    const Oid short_index = {1, 2, 3, 4}, long_index = {1, 2, 3, 4, 5, 6}, huge = {1, 2, 3, 4, beyond(40)};
    const Oid wrong = OID_IS_WIDE ? huge : Oid{1}; // where arcs have 32 bits, any of them may be an index
    for (const Oid& index : {short_index, long_index, wrong, Oid{}}) {
        EXPECT_NE(Pdu(module).integer(PROFILE, index, 8).set(), 0);
        EXPECT_NE(Pdu(module).integer(STATUS, index, OVRA_CREATEANDGO).set(), 0);
    }
    EXPECT_NE(Pdu(module).integer(1, ROW, 8).set(), 0);
    EXPECT_NE(Pdu(module).integer(7, ROW, 8).set(), 0);
    EXPECT_NE(Pdu(module).integer(4000000000u, ROW, 8).set(), 0);
    EXPECT_EQ(module.row_count(), 1);
    EXPECT_EQ(row()->sTcontTableBwProfileId, 7);
}

TEST_F(SnmpSet, VariableOutOfRangeBesideACreateCrashesNothingAndLeavesNoRow) {
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).integer(99, ROW, 1).integer(PROFILE, {1}, 1);
    EXPECT_NE(pdu.set(), 0);
    EXPECT_EQ(module.row_count(), 0);
}

TEST_F(SnmpSet, FailingCheckGivesBadValueOnAllVariablesAndTheRowAsBefore) {
    make();
    g_check = 0;
    Pdu pdu(module);
    pdu.text(NAME, ROW, "after").integer(PROFILE, ROW, 8);
    EXPECT_EQ(pdu.set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(pdu.errors(), (std::vector<int>{SNMP_ERR_BADVALUE, SNMP_ERR_BADVALUE}));
    EXPECT_TRUE(modes("set").empty());
    EXPECT_STREQ(row()->sTcontTableTcontName, "before");
    EXPECT_EQ(row()->sTcontTableBwProfileId, 7);
    EXPECT_STREQ(row()->old_sTcontTableTcontName, "");
    EXPECT_EQ(row()->old_sTcontTableBwProfileId, 0);
}

TEST_F(SnmpSet, FailingSetGivesBadValueOnAllVariablesAndTheRowAsBefore) {
    make();
    g_set = 2;
    Pdu pdu(module);
    pdu.text(NAME, ROW, "after").integer(STATUS, ROW, OVRA_DESTROY);
    EXPECT_EQ(pdu.set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(pdu.errors(), (std::vector<int>{SNMP_ERR_BADVALUE, SNMP_ERR_BADVALUE}));
    ASSERT_NE(row(), nullptr);
    EXPECT_STREQ(row()->sTcontTableTcontName, "before");
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
    EXPECT_EQ(row()->old_sTcontTableRowStatus, 0);
}

TEST_F(SnmpSet, FailingSetCallbackOnCreateAndGoLeavesNoRow) {
    g_set = 0;
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).text(NAME, ROW, "tc");
    EXPECT_EQ(pdu.set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(row(), nullptr);
}

// ---- phases --------------------------------------------------------------------------------------

TEST_F(SnmpSet, RepeatedReservesMakeTheRowOnce) {
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).text(NAME, ROW, "tc");
    pdu.run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    for (int i = 0; i < 3; ++i) { // what the agent makes of the same message once more
        Pdu repeated(module);
        repeated.integer(STATUS, ROW, OVRA_CREATEANDGO).text(NAME, ROW, "tc");
        EXPECT_EQ(repeated.run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2).error(), 0);
    }
    EXPECT_EQ(pdu.error(), 0);
    pdu.run(MODE_SET_ACTION).run(MODE_SET_COMMIT);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_ACTIVE);
    int created = 0;
    for (const std::string& text : log.texts())
        created += text.starts_with("create ");
    EXPECT_EQ(created, 1);
}

TEST_F(SnmpSet, AbandonedCreateIsFreed) {
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    ASSERT_NE(row(), nullptr);
    EXPECT_EQ(row()->sTcontTableRowStatus, OVRA_NONEXISTENT);
    pdu.run(MODE_SET_FREE);
    EXPECT_EQ(row(), nullptr);
}

TEST_F(SnmpSet, CommittedRowStaysWhenItIsFreed) {
    for (int32_t create : {OVRA_CREATEANDGO, OVRA_CREATEANDWAIT}) {
        Pdu pdu(module);
        pdu.integer(STATUS, ROW, create);
        ASSERT_EQ(pdu.set(), 0);
        pdu.run(MODE_SET_FREE);
        ASSERT_NE(row(), nullptr);
        ASSERT_EQ(set_status(OVRA_DESTROY), 0);
    }
}

TEST_F(SnmpSet, RowThatGoesBetweenThePhasesGivesResourceUnavailableAndHarmsNoOther) {
    make(OVRA_ACTIVE, ROW);
    make(OVRA_ACTIVE, OTHER);
    row(ROW)->old_sTcontTableBwProfileId = 99;
    Pdu pdu(module);
    pdu.integer(PROFILE, ROW, 8).integer(PROFILE, OTHER, 8);
    pdu.run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    row_del(module.did(), row(OTHER));
    pdu.run(MODE_SET_ACTION);
    EXPECT_EQ(pdu.error(), SNMP_ERR_RESOURCEUNAVAILABLE);
    pdu.run(MODE_SET_UNDO);
    EXPECT_EQ(row(ROW)->sTcontTableBwProfileId, 7);
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(SnmpSet, RowThatGoesBeforeCommitUndoOrFreeIsLeftAlone) {
    for (int phase : {MODE_SET_COMMIT, MODE_SET_UNDO, MODE_SET_FREE}) {
        make();
        Pdu pdu(module);
        pdu.integer(PROFILE, ROW, 8).integer(STATUS, ROW, OVRA_DESTROY);
        pdu.run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2).run(MODE_SET_ACTION);
        row_del(module.did(), row());
        pdu.run(phase);
        EXPECT_EQ(row(), nullptr);
    }
}

TEST_F(SnmpSet, CheckCallbackThatRemovesTheRowFailsTheSet) {
    make();
    MibUnRegisterCallback(module.did(), CALLBACK_CHECK, on_check);
    MibRegisterCallback(module.did(), CALLBACK_CHECK, "remove", 0, remove_row, mibDefFlags);
    EXPECT_EQ(Pdu(module).integer(PROFILE, ROW, 8).set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(row(), nullptr);
}

TEST_F(SnmpSet, SetCallbackMayRemoveTheRow) {
    make();
    MibUnRegisterCallback(module.did(), CALLBACK_SET, on_set);
    MibRegisterCallback(module.did(), CALLBACK_SET, "remove", 0, remove_row, mibDefFlags);
    EXPECT_EQ(set_status(OVRA_DESTROY), 0);
    EXPECT_EQ(row(), nullptr);
}

TEST_F(SnmpSet, OneRunOfTheCallbacksForColumnsOfTwoRowsOnTheRowOfTheLastVariable) {
    make(OVRA_ACTIVE, ROW);
    make(OVRA_ACTIVE, OTHER);
    ASSERT_EQ(Pdu(module).text(NAME, ROW, "first").integer(PROFILE, OTHER, 8).set(), 0);
    ASSERT_EQ(g_calls.size(), 2u); // check and set
    EXPECT_EQ(g_calls[1].row.tcontId, 6u);
    MIB_Flags_t both{};
    mib_flag_set(both, NAME);
    mib_flag_set(both, PROFILE);
    EXPECT_EQ(std::memcmp(&g_calls[1].flags, &both, sizeof(both)), 0);
    EXPECT_STREQ(row(ROW)->sTcontTableTcontName, "first");
    EXPECT_EQ(row(OTHER)->sTcontTableBwProfileId, 8);
}

TEST_F(SnmpSet, LastOfTwoVariablesOfOneColumnWins) {
    make();
    ASSERT_EQ(Pdu(module).integer(PROFILE, ROW, 8).integer(PROFILE, ROW, 9).set(), 0);
    EXPECT_EQ(row()->sTcontTableBwProfileId, 9);
    EXPECT_EQ(row()->old_sTcontTableBwProfileId, 8);
}

TEST_F(SnmpSet, FailedSetOfTwoVariablesOfOneColumnLeavesTheRowAsBefore) {
    make();
    g_set = 0;
    Pdu pdu(module);
    pdu.integer(PROFILE, ROW, 8).text(NAME, ROW, "x").integer(PROFILE, ROW, 9).integer(PROFILE, ROW, 10);
    EXPECT_EQ(pdu.set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(row()->sTcontTableBwProfileId, 7);
    EXPECT_STREQ(row()->sTcontTableTcontName, "before");
}

// ---- undo ----------------------------------------------------------------------------------------

// As profiles by name: the callback fills in one column for another, and clears a third.
int fill_in(MIBDID, void* row, MIB_Flags_t) {
    auto& tcont = *static_cast<sTcontTable_entry*>(row);
    tcont.sTcontTableAllocID = 77;
    tcont.old_sTcontTableAllocID = 76;
    strcpy(tcont.sTcontTableBwProfileName, "");
    return g_set;
}

class SnmpUndo : public SnmpSet {
protected:
    SnmpUndo() {
        MibUnRegisterCallback(module.did(), CALLBACK_SET, on_set);
        MibRegisterCallback(module.did(), CALLBACK_SET, "fill in", 0, fill_in, mibDefFlags);
        make();
        row()->sTcontTableAllocID = 5;
        row()->old_sTcontTableAllocID = 4;
        strcpy(row()->sTcontTableBwProfileName, "gold");
        pdu.integer(PROFILE, ROW, 8).run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    }
    void expect_as_before() {
        ASSERT_NE(row(), nullptr);
        EXPECT_EQ(row()->sTcontTableBwProfileId, 7);
        EXPECT_EQ(row()->sTcontTableAllocID, 5);
        EXPECT_EQ(row()->old_sTcontTableAllocID, 4);
        EXPECT_STREQ(row()->sTcontTableBwProfileName, "gold");
        EXPECT_STREQ(row()->sTcontTableTcontName, "before");
    }
    Pdu pdu{module};
};

TEST_F(SnmpUndo, GivesBackWhatACallbackFilledInOrClearedBesideTheNamedColumns) {
    for (const int answer : {0, 1}) { // refused here; accepted, and refused by another table of the request
        g_set = answer;
        pdu.run(MODE_SET_ACTION);
        EXPECT_EQ(row()->sTcontTableAllocID, 77);
        EXPECT_EQ(row()->sTcontTableBwProfileId, 8);
        pdu.run(MODE_SET_UNDO);
        expect_as_before();
    }
}

TEST_F(SnmpUndo, ALostMasterUndoesARefusedSetAlike) {
    g_set = 0;
    pdu.run(MODE_SET_ACTION);
    snmp_call_callbacks(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, nullptr);
    expect_as_before();
}

TEST_F(SnmpUndo, LeavesWhatOthersHaveChangedSince) {
    g_set = 0;
    pdu.run(MODE_SET_ACTION);
    row()->sTcontTableAllocID = 99; // as a report of the card
    pdu.run(MODE_SET_UNDO);
    EXPECT_EQ(row()->sTcontTableAllocID, 99);
    EXPECT_EQ(row()->sTcontTableBwProfileId, 7);
    EXPECT_STREQ(row()->sTcontTableBwProfileName, "gold");
}

TEST_F(SnmpUndo, ARepeatedActionDoesNotHideWhatWasThereFirst) {
    pdu.run(MODE_SET_ACTION).run(MODE_SET_ACTION).run(MODE_SET_UNDO);
    expect_as_before();
}

TEST_F(SnmpUndo, OfOneSetIsNotThatOfTheNext) {
    g_set = 1;
    pdu.run(MODE_SET_ACTION).run(MODE_SET_COMMIT);
    g_set = 0;
    ASSERT_EQ(Pdu(module).integer(PROFILE, ROW, 9).set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(row()->sTcontTableBwProfileId, 8);
    EXPECT_EQ(row()->sTcontTableAllocID, 77);
}

// ---- log -----------------------------------------------------------------------------------------

TEST_F(SnmpSet, PasswordsAndKeysAreNotInTheLog) {
    initialize_table_sOnuTable();
    TableModule& onus = table_module_sOnuTable();
    play_module(onus);
    const Oid index = {1, 1, 1, 7};
    ASSERT_EQ(Pdu(onus)
                  .text(sOnuTable_column::sOnuTablePw, index, "hunter2")
                  .text(sOnuTable_column::sOnuTableLoidPw, index, "")
                  .text(sOnuTable_column::sOnuTableLoid, index, "customer")
                  .integer(sOnuTable_column::sOnuTableRowStatus, index, OVRA_CREATEANDWAIT)
                  .set(),
              0);
    std::string all;
    for (const std::string& text : log.texts())
        all += text + "\n";
    EXPECT_EQ(all.find("hunter2"), all.npos) << all;
    EXPECT_NE(all.find(" sOnuTablePw:*** \n"), all.npos) << all;
    EXPECT_NE(all.find(" sOnuTableLoidPw:*** \n"), all.npos) << "nor whether there is one";
    EXPECT_NE(all.find(" sOnuTableLoid:customer \n"), all.npos) << all;
    const void* row = onus.find_row(std::array<uint32_t, 4>{1, 1, 1, 7}.data());
    ASSERT_NE(row, nullptr);
    EXPECT_STREQ(static_cast<const sOnuTable_entry*>(row)->sOnuTablePw, "hunter2");
    EXPECT_EQ(onus.dump_text(row).find("hunter2"), std::string::npos);
    initialize_table_sOnuTable_data();
}

TEST_F(SnmpSet, LogsSayWhatSnmpDid) {
    ASSERT_EQ(Pdu(module)
                  .integer(STATUS, ROW, OVRA_CREATEANDGO)
                  .text(PROFILE_NAME, ROW, "fast")
                  .integer(PROFILE, ROW, -8)
                  .set(),
              0);
    ASSERT_EQ(set_status(OVRA_DESTROY), 0);
    const std::string index = "entry [shelfID:1 slotID:2 portID:3 onuId:4 tcontId:5 ]";
    EXPECT_EQ(log.texts(), (std::vector<std::string>{
                               "create " + index + " ", "Set " + index + " sTcontTableBwProfileName:fast ",
                               "Set " + index + " sTcontTableBwProfileId:-8 ", "Set " + index + " result:1 ",
                               "Set " + index + " result:1 ", "remove " + index + " "}));
    for (const LogLine& line : log.lines()) {
        EXPECT_EQ(line.module, "SNMP");
        EXPECT_EQ(line.level, OV_LOG_LVL_INFO);
    }
    EXPECT_EQ(g_owner, 1);
    EXPECT_EQ(getOpOwner(module.did()), 0);
}

TEST_F(SnmpSet, UnknownModesDoNothing) {
    make();
    sTcontTable_entry before = *row();
    Pdu pdu(module);
    pdu.integer(PROFILE, ROW, 8).run(MODE_SET_RESERVE1);
    for (int mode : {-1, 6, 7, 100, 161}) {
        netsnmp_agent_request_info info{};
        info.mode = mode;
        EXPECT_EQ(sTcontTable_handler(nullptr, nullptr, &info, pdu.request()), SNMP_ERR_NOERROR);
    }
    EXPECT_EQ(std::memcmp(&before, row(), sizeof(before)), 0);
}

// ---- a master that goes away -----------------------------------------------------------------------

void lose_master() {
    snmp_call_callbacks(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, nullptr);
}

TEST_F(SnmpSet, MasterLostBehindTheReservesLeavesNoRow) {
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    ASSERT_NE(row(), nullptr);
    lose_master();
    EXPECT_EQ(row(), nullptr);
}

TEST_F(SnmpSet, MasterLostBehindAnAcceptedActionCompletesTheSet) {
    for (int32_t status : {OVRA_CREATEANDGO, OVRA_CREATEANDWAIT, OVRA_DESTROY}) {
        if (status == OVRA_DESTROY)
            make();
        Pdu pdu(module);
        pdu.integer(STATUS, ROW, status).run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2).run(MODE_SET_ACTION);
        lose_master();
        if (status == OVRA_DESTROY) {
            EXPECT_EQ(row(), nullptr);
            continue;
        }
        ASSERT_NE(row(), nullptr);
        EXPECT_EQ(row()->sTcontTableRowStatus, status == OVRA_CREATEANDGO ? OVRA_ACTIVE : OVRA_NOTINSERVICE);
        EXPECT_EQ(row()->old_sTcontTableRowStatus, status);
        row_del(module.did(), row());
    }
}

TEST_F(SnmpSet, MasterLostBehindARefusedActionLeavesTheRowAsBefore) {
    make();
    g_set = 0;
    Pdu pdu(module);
    pdu.integer(PROFILE, ROW, 8).text(NAME, ROW, "x");
    pdu.run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2).run(MODE_SET_ACTION);
    EXPECT_EQ(row()->sTcontTableBwProfileId, 8);
    lose_master();
    EXPECT_EQ(row()->sTcontTableBwProfileId, 7);
    EXPECT_STREQ(row()->sTcontTableTcontName, "before");

    Pdu create(module);
    create.integer(STATUS, OTHER, OVRA_CREATEANDGO);
    create.run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2).run(MODE_SET_ACTION);
    lose_master();
    EXPECT_EQ(row(OTHER), nullptr);
}

TEST_F(SnmpSet, MasterLostBehindAFinishedSetChangesNothing) {
    make();
    ASSERT_EQ(Pdu(module).integer(PROFILE, ROW, 8).set(), 0);
    g_set = 0;
    ASSERT_EQ(Pdu(module).integer(PROFILE, ROW, 9).set(), SNMP_ERR_BADVALUE);
    const sTcontTable_entry before = *row();
    lose_master();
    EXPECT_EQ(std::memcmp(&before, row(), sizeof(before)), 0);
}

// ---- tables without their module -----------------------------------------------------------------

TEST_F(SnmpSet, ATableCanBeWrittenOnlyOnceItsModuleIsThere) {
    initialize_table_sRmWifiTable();
    TableModule& wifi = table_module_sRmWifiTable();
    const Oid index = {1, 1, 1, 1, 1};
    const oid status = wifi.desc().row_status->number;
    EXPECT_EQ(Pdu(wifi).integer(status, index, OVRA_CREATEANDGO).set(), SNMP_ERR_NOTWRITABLE);
    EXPECT_EQ(wifi.row_count(), 0);
    sRmWifiTable_entry* row = sRmWifiTable_createEntry(1, 1, 1, 1, 1);
    set_row_active(wifi, row);
    EXPECT_EQ(Pdu(wifi).text(sRmWifiTable_column::sRmWifiName, index, "home").set(), SNMP_ERR_NOTWRITABLE);
    EXPECT_EQ(Pdu(wifi).get(sRmWifiTable_column::sRmWifiName, index).run(MODE_GET).error(), 0);
    play_module(wifi);
    EXPECT_EQ(Pdu(wifi).text(sRmWifiTable_column::sRmWifiName, index, "home").set(), 0);
    EXPECT_STREQ(row->sRmWifiName, "home");
    initialize_table_sRmWifiTable_data();
}

// ---- other tables --------------------------------------------------------------------------------

TEST_F(SnmpSet, RangesHoldForSignedAndUnsignedColumns) {
    initialize_table_sPonTable();
    TableModule& pon = table_module_sPonTable();
    play_module(pon);
    sPonTable_entry* row = sPonTable_createEntry(1, 1, 1);
    row->sPonTableRowStatus = OVRA_ACTIVE;
    constexpr oid SCB_PORT = sPonTable_column::sPonTableScbPort; // 0 .. 4095
    EXPECT_EQ(Pdu(pon).integer(SCB_PORT, {1, 1, 1}, 4095, ASN_UNSIGNED).set(), 0);
    EXPECT_EQ(row->sPonTableScbPort, 4095u);
    EXPECT_EQ(Pdu(pon).integer(SCB_PORT, {1, 1, 1}, 4096, ASN_UNSIGNED).set(), SNMP_ERR_WRONGVALUE);
    EXPECT_EQ(Pdu(pon).integer(SCB_PORT, {1, 1, 1}, 0xFFFFFFFF, ASN_UNSIGNED).set(), SNMP_ERR_WRONGVALUE);
    EXPECT_EQ(Pdu(pon).integer(SCB_PORT, {1, 1, 1}, 1, ASN_INTEGER).set(), SNMP_ERR_WRONGTYPE);
    for (const ColumnDesc& column : pon.desc().columns) {
        if (column.type != ColType::INT || column.access < ColAccess::READ_WRITE || column.max == INT32_MAX)
            continue;
        EXPECT_EQ(Pdu(pon).integer(column.number, {1, 1, 1}, long(column.max)).set(), 0) << column.name;
        EXPECT_EQ(Pdu(pon).integer(column.number, {1, 1, 1}, long(column.max) + 1).set(),
                  SNMP_ERR_WRONGVALUE);
        EXPECT_EQ(Pdu(pon).integer(column.number, {1, 1, 1}, long(column.min) - 1).set(),
                  SNMP_ERR_WRONGVALUE);
    }
}

TEST_F(SnmpSet, RowStatusOfARowThatManagersOnlyChangeIsNotWritable) {
    initialize_table_sRmUniStatusTable();
    TableModule& uni = table_module_sRmUniStatusTable();
    play_module(uni);
    const Oid index = {1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(Pdu(uni).integer(uni.desc().row_status->number, index, OVRA_CREATEANDGO).set(),
              SNMP_ERR_NOTWRITABLE);
    // Such a table has nothing to reserve: the absent row is found at the action.
    const oid frame = sRmUniStatusTable_column::sRmUniStatusMaxFrameSize;
    Pdu pdu(uni);
    pdu.integer(frame, index, 1500, ASN_UNSIGNED).run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    EXPECT_EQ(pdu.error(), 0);
    pdu.run(MODE_SET_ACTION);
    EXPECT_EQ(pdu.error(), SNMP_ERR_RESOURCEUNAVAILABLE);
    EXPECT_EQ(uni.row_count(), 0);
}

TEST_F(SnmpSet, ReadOnlyTableIsRefusedBeforeItsHandlerRuns) {
    initialize_table_sOnuExtendInfoTable();
    TableModule& info = table_module_sOnuExtendInfoTable();
    sOnuExtendInfoTable_createEntry(1, 1, 1, 1);
    EXPECT_EQ(Pdu(info).integer(1, {1, 1, 1, 1}, 1).run(MODE_SET_RESERVE1).error(), SNMP_ERR_NOTWRITABLE);
    EXPECT_EQ(Pdu(info).get(1, {1, 1, 1, 1}).run(MODE_GET).error(), 0);
}

TEST_F(SnmpSet, CountersAddressesAndBinariesAreWritten) {
    initialize_table_gemPmThrTable();
    TableModule& threshold = table_module_gemPmThrTable();
    gemPmThrTable_entry* gem = gemPmThrTable_createEntry(1);
    set_row_active(threshold, gem);
    counter64 counter{.high = 0x12345678, .low = 0x9ABCDEF0};
    const oid packets = gemPmThrTable_column::gpmThrRxPackets;
    Pdu pdu(threshold);
    pdu.add(variable_name(threshold, packets, {1}), ASN_COUNTER64, &counter, sizeof(counter));
    EXPECT_EQ(pdu.set(), 0);
    EXPECT_EQ(gem->gpmThrRxPackets, 0x123456789ABCDEF0u);
    EXPECT_EQ(Pdu(threshold).integer(packets, {1}, 1).set(), SNMP_ERR_WRONGTYPE);
    EXPECT_EQ(gem->gpmThrRxPackets, 0x123456789ABCDEF0u);

    initialize_table_aclExtendRuleTable();
    TableModule& acl = table_module_aclExtendRuleTable();
    aclExtendRuleTable_entry* rule = aclExtendRuleTable_createEntry(1, 2);
    set_row_active(acl, rule);
    const oid source = aclExtendRuleTable_column::aclExtendRuleSrcIp;
    EXPECT_EQ(Pdu(acl).text(source, {1, 2}, "\x0A\x01\x02\x03", ASN_IPADDRESS).set(), 0);
    EXPECT_EQ(rule->aclExtendRuleSrcIp, htonl(0x0A010203));
    EXPECT_EQ(Pdu(acl).text(source, {1, 2}, "\x0A\x01\x02", ASN_IPADDRESS).set(), SNMP_ERR_WRONGLENGTH);
}

TEST_F(SnmpSet, ACounter64IsWrittenAsAnUnsigned32Too) {
    initialize_table_gemPmThrTable();
    TableModule& threshold = table_module_gemPmThrTable();
    gemPmThrTable_entry* gem = gemPmThrTable_createEntry(1);
    set_row_active(threshold, gem);
    gem->gpmThrRxPackets = 0x123456789ABCDEF0u;
    const oid packets = gemPmThrTable_column::gpmThrRxPackets;
    EXPECT_EQ(Pdu(threshold).integer(packets, {1}, 0xFFFFFFFF, ASN_UNSIGNED).set(), 0);
    EXPECT_EQ(gem->gpmThrRxPackets, 0xFFFFFFFFu);
    EXPECT_EQ(Pdu(threshold).integer(packets, {1}, 0, ASN_UNSIGNED).set(), 0);
    EXPECT_EQ(gem->gpmThrRxPackets, 0u);
    for (const int type : {ASN_INTEGER, ASN_COUNTER, ASN_TIMETICKS})
        EXPECT_EQ(Pdu(threshold).integer(packets, {1}, 1, type).set(), SNMP_ERR_WRONGTYPE) << type;
}

TEST_F(SnmpSet, ShortBinaryIsFilledWithZeros) {
    for (TableModule* module : table_module_list()) {
        for (const ColumnDesc& column : module->desc().columns) {
            if (column.type != ColType::BIN || column.access < ColAccess::READ_WRITE ||
                module->did() == nullptr)
                continue;
            module->initialize_table();
            play_module(*module);
            if (table_cntl[module->desc().registry_index].reg == nullptr)
                continue;
            std::vector<uint32_t> key(module->desc().index.size(), 1);
            void* row = module->create_entry(key.data());
            set_row_active(*module, row);
            const Oid index(key.begin(), key.end());
            const auto* bytes = static_cast<const unsigned char*>(row) + column.offset;
            EXPECT_EQ(Pdu(*module).text(column.number, index, std::string(column.limit, '\x7F')).set(), 0);
            EXPECT_EQ(Pdu(*module).text(column.number, index, "ab").set(), 0) << column.name;
            EXPECT_EQ(bytes[1], 'b');
            EXPECT_EQ(bytes[2], 0);
            EXPECT_EQ(bytes[column.limit - 1], 0);
            EXPECT_EQ(Pdu(*module).text(column.number, index, std::string(column.limit + 1u, 'x')).set(),
                      SNMP_ERR_WRONGLENGTH);
            return;
        }
    }
    FAIL() << "no table with a binary that managers write";
}

} // namespace
