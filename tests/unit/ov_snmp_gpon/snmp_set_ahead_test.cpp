// What an application does ahead of a manager's set: what it is told, when it begins and when it ends.
#include "table_snmp_ahead.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "../support/log_tap.h"
#include "sTcontTable.h"
#include "snmp_pdu.h"
#include "table_snmp_open.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr oid NAME = 3, PROFILE = 4, STATUS = 6;
const Oid ROW = {1, 2, 3, 4, 5};

std::vector<std::string> g_calls;
bool g_has_work = true;
std::function<void()> g_ready;

std::string told_of(const void* row) {
    const auto& tcont = *static_cast<const sTcontTable_entry*>(row);
    return std::to_string(tcont.tcontId) + " " + tcont.sTcontTableTcontName + " " +
           std::to_string(tcont.sTcontTableRowStatus);
}

bool begin(const void* row, const MIB_Flags_t& columns, std::function<void()> ready) {
    g_calls.push_back("begin " + told_of(row) + (mib_flag_is_set(columns, NAME) ? " named" : ""));
    g_ready = std::move(ready);
    return g_has_work;
}
void end(const void* row) {
    g_calls.push_back("end " + told_of(row));
}

class SnmpAheadOfSet : public SnmpTest {
protected:
    SnmpAheadOfSet() : module(table_module_sTcontTable()) {
        initialize_table_sTcontTable();
        play_module(module);
        snmp_ahead_register(STCONT, {begin, end});
        g_calls.clear();
        g_has_work = true;
    }
    ~SnmpAheadOfSet() override { initialize_table_sTcontTable_data(); }
    // A row's creation up to its RESERVE2.
    void test(Pdu& pdu) const {
        pdu.integer(STATUS, ROW, OVRA_CREATEANDGO).text(NAME, ROW, "tc").integer(PROFILE, ROW, 9);
        pdu.run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    }

    LogTap log;
    TableModule& module;
};

TEST_F(SnmpAheadOfSet, BeginsWithTheRowAsItIsGoingToBeAndEndsWithTheSet) {
    Pdu pdu(module);
    test(pdu);
    EXPECT_THAT(g_calls, IsEmpty());
    EXPECT_TRUE(snmp_ahead_begin());
    EXPECT_THAT(g_calls, ElementsAre("begin 5 tc 4 named"));
    EXPECT_TRUE(snmp_ahead_begin()); // once
    g_ready();
    EXPECT_FALSE(snmp_ahead_begin());
    pdu.run(MODE_SET_ACTION);
    EXPECT_EQ(g_calls.size(), 1u);
    pdu.run(MODE_SET_COMMIT);
    EXPECT_THAT(g_calls, ElementsAre("begin 5 tc 4 named", "end 5 tc 4"));
    g_ready(); // too late
    EXPECT_FALSE(snmp_ahead_begin());
    EXPECT_EQ(pdu.error(), 0);
}

TEST_F(SnmpAheadOfSet, EndsWithASetThatIsUndoneFreedOrLost) {
    const std::function<void(Pdu&)> ends[] = {
        [](Pdu& pdu) { pdu.run(MODE_SET_UNDO); },
        [](Pdu& pdu) { pdu.run(MODE_SET_FREE); },
        [](Pdu&) { snmp_open_abandon(); },
    };
    for (const auto& end_set : ends) {
        Pdu pdu(module);
        test(pdu);
        EXPECT_TRUE(snmp_ahead_begin());
        end_set(pdu);
        EXPECT_THAT(g_calls, ElementsAre("begin 5 tc 4 named", "end 5 tc 4"));
        EXPECT_FALSE(snmp_ahead_begin());
        EXPECT_EQ(module.row_count(), 0);
        g_calls.clear();
    }
}

TEST_F(SnmpAheadOfSet, WithNothingToDoNothingIsHeldOrEnded) {
    g_has_work = false;
    Pdu pdu(module);
    test(pdu);
    EXPECT_FALSE(snmp_ahead_begin());
    pdu.run(MODE_SET_ACTION).run(MODE_SET_COMMIT);
    EXPECT_THAT(g_calls, ElementsAre("begin 5 tc 4 named"));
}

TEST_F(SnmpAheadOfSet, KnowsAStoredRowByItsValuesAndTheNewOnes) {
    Pdu made(module);
    test(made);
    made.run(MODE_SET_ACTION).run(MODE_SET_COMMIT);
    g_calls.clear();
    Pdu pdu(module);
    pdu.integer(PROFILE, ROW, 3).run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    EXPECT_TRUE(snmp_ahead_begin());
    EXPECT_THAT(g_calls, ElementsAre("begin 5 tc 1"));
    // The master repeats its TestSet: it is the same set.
    Pdu repeated(module);
    repeated.integer(PROFILE, ROW, 3).run(MODE_SET_RESERVE1).run(MODE_SET_RESERVE2);
    EXPECT_THAT(g_calls, ElementsAre("begin 5 tc 1", "end 5 tc 1"));
    EXPECT_TRUE(snmp_ahead_begin());
    repeated.run(MODE_SET_UNDO);
}

} // namespace
