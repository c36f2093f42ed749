// Refusals of SETs: the variable that a manager is told, and the line in the log. And how rows are called.
#include <algorithm>
#include <gtest/gtest.h>

#include "../support/log_tap.h"
#include "ov_refusal.h"
#include "sBWProfileTable.h"
#include "sOnuSrvProfileTable.h"
#include "sPonTable.h"
#include "sTcontTable.h"
#include "snmp_pdu.h"
#include "table_row_name.h"

namespace {

constexpr oid ALLOC = 2, NAME = 3, PROFILE = 4, PROFILE_NAME = 5, STATUS = 6;
const Oid ROW = {1, 2, 3, 4, 5};
const char* const ROW_NAME = "sTcontTable gpon-onu2/3:4 T-CONT 5";

unsigned g_column;
bool g_nested;

int refuse(MIBDID, void*, MIB_Flags_t) {
    if (g_nested) { // a row of another table was the matter, and its column
        sPonTable_entry port{};
        MibAccessHandle(MIB_SET, 0, table_module_sPonTable().did(), &port, mibDefFlags, 0);
    }
    return ov_refusal_because_of(g_column, "no profile \"%s\"", "nope");
}

int refuse_port(MIBDID, void*, MIB_Flags_t) {
    return ov_refusal_because_of(PROFILE_NAME, "of a port");
}

class SnmpRefusal : public SnmpTest {
protected:
    SnmpRefusal() : module(table_module_sTcontTable()) {
        initialize_table_sTcontTable();
        initialize_table_sPonTable();
        play_module(module);
        g_column = 0;
        g_nested = false;
        LogTap::take();
    }
    ~SnmpRefusal() override {
        initialize_table_sTcontTable_data();
        initialize_table_sPonTable_data();
    }
    void refuse_all() { MibRegisterCallback(module.did(), CALLBACK_CHECK, "refuse", 0, refuse, mibDefFlags); }
    void make() { sTcontTable_createEntry(1, 2, 3, 4, 5)->sTcontTableRowStatus = OVRA_ACTIVE; }
    static std::vector<std::string> told() {
        auto texts = LogTap::texts();
        std::erase_if(texts, [](const std::string& text) { return !text.starts_with("refused: "); });
        return texts;
    }
    static std::vector<std::string> one_line(const std::string& reason) {
        return {std::string("refused: snmp: ") + ROW_NAME + ": " + reason};
    }

    LogTap log;
    TableModule& module;
};

TEST_F(SnmpRefusal, VariableThatTheCheckNamesGetsTheError) {
    refuse_all();
    g_column = PROFILE_NAME;
    Pdu pdu(module);
    pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).text(PROFILE_NAME, ROW, "nope").text(NAME, ROW, "a");
    EXPECT_EQ(pdu.set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(pdu.errors(), (std::vector<int>{0, SNMP_ERR_BADVALUE, 0}));
    EXPECT_EQ(told(), one_line("no profile \"nope\""));
    EXPECT_EQ(module.row_count(), 0);
}

TEST_F(SnmpRefusal, AllVariablesGetTheErrorWhenNoneOfThemIsNamed) {
    refuse_all();
    make();
    g_column = PROFILE; // isn't in the request
    Pdu pdu(module);
    pdu.text(NAME, ROW, "a").text(PROFILE_NAME, ROW, "nope");
    EXPECT_EQ(pdu.set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(pdu.errors(), (std::vector<int>{SNMP_ERR_BADVALUE, SNMP_ERR_BADVALUE}));
    EXPECT_EQ(told(), one_line("no profile \"nope\""));
}

TEST_F(SnmpRefusal, ColumnOfAnotherTableIsNoVariableOfThisOne) {
    refuse_all();
    g_nested = true;
    sPonTable_createEntry(0, 0, 0);
    MibRegisterCallback(table_module_sPonTable().did(), CALLBACK_CHECK, "port", 0, refuse_port, mibDefFlags);
    make();
    Pdu pdu(module);
    pdu.text(NAME, ROW, "a").text(PROFILE_NAME, ROW, "nope");
    EXPECT_EQ(pdu.set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(pdu.errors(), (std::vector<int>{SNMP_ERR_BADVALUE, SNMP_ERR_BADVALUE}));
    EXPECT_EQ(told(), std::vector<std::string>{"refused: snmp: sPonTable gpon-olt0/0: of a port"});
}

TEST_F(SnmpRefusal, ValueThatAColumnDoesNotTakeIsToldWithWhatItTakes) {
    make();
    EXPECT_EQ(Pdu(module).integer(NAME, ROW, 3).set(), SNMP_ERR_WRONGTYPE);
    EXPECT_EQ(Pdu(module).text(NAME, ROW, std::string(34, 'x')).set(), SNMP_ERR_WRONGLENGTH);
    EXPECT_EQ(Pdu(module).integer(ALLOC, ROW, 3).set(), SNMP_ERR_NOTWRITABLE);
    EXPECT_EQ(Pdu(module).integer(STATUS, ROW, 7).set(), SNMP_ERR_WRONGVALUE);
    EXPECT_EQ(Pdu(module).integer(STATUS, ROW, OVRA_CREATEANDGO).set(), SNMP_ERR_INCONSISTENTVALUE);
    const std::string head = std::string("refused: snmp: ") + ROW_NAME + ": ";
    EXPECT_EQ(told(), (std::vector<std::string>{
                          head + "sTcontTableTcontName is of type OCTET STRING",
                          head + "sTcontTableTcontName takes at most 33 bytes",
                          head + "sTcontTableAllocID can't be written",
                          head + "sTcontTableRowStatus takes 1, 2, 4, 5, 6 (active, notInService, "
                                 "createAndGo, createAndWait, destroy)",
                          head + "exists already",
                      }));
}

TEST_F(SnmpRefusal, MissingRowIsTheReason) {
    EXPECT_EQ(Pdu(module).text(NAME, ROW, "a").set(), SNMP_ERR_RESOURCEUNAVAILABLE);
    EXPECT_EQ(told(), one_line("doesn't exist"));
}

TEST_F(SnmpRefusal, DestroyOfAMissingRowSucceeds) {
    EXPECT_EQ(Pdu(module).integer(STATUS, ROW, OVRA_DESTROY).set(), 0);
    EXPECT_EQ(told(), std::vector<std::string>{});
    make();
    Oid other = ROW;
    other.back() = 6;
    EXPECT_EQ(Pdu(module).integer(STATUS, other, OVRA_DESTROY).text(NAME, ROW, "a").set(), 0);
    EXPECT_EQ(module.row_count(), 1);
    Pdu both(module);
    both.integer(STATUS, other, OVRA_DESTROY).text(NAME, other, "a");
    EXPECT_EQ(both.set(), SNMP_ERR_RESOURCEUNAVAILABLE);
    EXPECT_EQ(both.errors(), (std::vector<int>{0, SNMP_ERR_RESOURCEUNAVAILABLE}));
}

// ---- accesses of other doors -----------------------------------------------------------------------------

TEST_F(SnmpRefusal, WriteThatIsRefusedBehindAnEventsDoorIsReportedAtOnce) {
    sTcontTable_entry key{};
    sTcontTable_SetIndex(&key, 1, 2, 3, 4, 5);
    const OvRefusal door("card", OvRefusal::Kind::EVENT);
    EXPECT_EQ(MibAccessHandle(MIB_DEL, 0, module.did(), &key, mibDefFlags, 0), MIB_FAIL);
    EXPECT_EQ(MibAccessHandle(MIB_GET_S, 0, module.did(), &key, mibDefFlags, 0), MIB_FAIL); // no write
    EXPECT_EQ(told(),
              std::vector<std::string>{std::string("refused: card: ") + ROW_NAME + ": doesn't exist"});
}

TEST_F(SnmpRefusal, ThreadsDoorStandsForAllThatHasNone) {
    sTcontTable_entry key{};
    sTcontTable_SetIndex(&key, 1, 2, 3, 4, 5);
    EXPECT_EQ(MibAccessHandle(MIB_DEL, 0, module.did(), &key, mibDefFlags, 0), MIB_FAIL);
    EXPECT_EQ(told(), std::vector<std::string>{});
    ov_refusal_set_thread_door("timer");
    EXPECT_EQ(MibAccessHandle(MIB_DEL, 0, module.did(), &key, mibDefFlags, 0), MIB_FAIL);
    ov_refusal_set_thread_door(nullptr);
    EXPECT_EQ(told(),
              std::vector<std::string>{std::string("refused: timer: ") + ROW_NAME + ": doesn't exist"});
}

TEST_F(SnmpRefusal, RefusalThatACallbackPassesOverIsForgotten) {
    make();
    MibRegisterCallback(
        module.did(), CALLBACK_CHECK, "passes", 0,
        [](MIBDID, void*, MIB_Flags_t) {
            sPonTable_entry port{};
            MibAccessHandle(MIB_DEL, 0, table_module_sPonTable().did(), &port, mibDefFlags, 0);
            return 1;
        },
        mibDefFlags);
    MibRegisterCallback(
        module.did(), CALLBACK_SET, "refuses", 0,
        [](MIBDID, void*, MIB_Flags_t) -> int { return ov_refusal_because("the matter"); }, mibDefFlags);
    EXPECT_EQ(Pdu(module).text(NAME, ROW, "a").set(), SNMP_ERR_BADVALUE);
    EXPECT_EQ(told(), one_line("the matter"));
}

// ---- names of rows ---------------------------------------------------------------------------------------

TEST(TableRowName, IsThatOfThePortOrOnuAndOfWhatStandsBelow) {
    sPonTable_entry port{};
    sPonTable_SetIndex(&port, 1, 2, 3);
    EXPECT_EQ(table_row_name(table_module_sPonTable(), &port), "sPonTable gpon-olt2/3");
    sTcontTable_entry tcont{};
    sTcontTable_SetIndex(&tcont, 1, 2, 3, 4, 5);
    EXPECT_EQ(table_row_name(table_module_sTcontTable(), &tcont), ROW_NAME);
    sTcontTable_SetIndex(&tcont, 1, 31, 15, 7, 5);
    EXPECT_EQ(table_row_name(table_module_sTcontTable(), &tcont), "sTcontTable onu-srvprofile 7 T-CONT 5");
}

TEST(TableRowName, IsTheProfilesOwnWhereItHasOne) {
    sBWProfileTable_entry profile{};
    profile.bwProfileId = 3000000000u;
    EXPECT_EQ(table_row_name(table_module_sBWProfileTable(), &profile),
              "sBWProfileTable bwProfileId 3000000000");
    strcpy(profile.sBWProfileTableBwProfileName, "gold");
    EXPECT_EQ(table_row_name(table_module_sBWProfileTable(), &profile), "sBWProfileTable gold");
    EXPECT_EQ(table_key_name(table_module_sBWProfileTable(), &profile),
              "sBWProfileTable bwProfileId 3000000000");
}

TEST(TableRowName, ForTheAccessCoreIsCutToItsRoom) {
    sPonTable_entry port{};
    char text[12] = "";
    table_row_name(SPON, &port, text, sizeof(text));
    EXPECT_STREQ(text, "sPonTable g");
    table_row_name(100000, &port, text, sizeof(text));
    EXPECT_STREQ(text, "");
}

} // namespace
