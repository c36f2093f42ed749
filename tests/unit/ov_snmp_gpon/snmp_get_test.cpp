// GET and GETNEXT by managers: the row that a name leads to, and the run of the get chain.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>
#include <vector>

#include "sGemTable.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"
#include "sTcontTable.h"
#include "snmp_pdu.h"

namespace {

constexpr oid ALLOC = 2, NAME = 3, PROFILE = 4, STATUS = 6;
const Oid ROW = {1, 2, 3, 4, 5};

int g_gets;
MIB_Flags_t g_flags;
uint32_t g_tcont;
int g_answer;
bool g_remove;

int on_get(MIBDID did, void* row, MIB_Flags_t flags) {
    auto* tcont = static_cast<sTcontTable_entry*>(row);
    ++g_gets;
    g_flags = flags;
    g_tcont = tcont->tcontId;
    tcont->sTcontTableAllocID = 4711;
    if (g_remove)
        row_del(did, tcont);
    return g_answer;
}

class SnmpGet : public SnmpTest {
protected:
    SnmpGet() : module(table_module_sTcontTable()) {
        initialize_table_sTcontTable();
        play_module(module);
        g_gets = 0;
        g_answer = 1;
        g_remove = false;
    }
    sTcontTable_entry* make(uint32_t tcont, int32_t onu = 4) {
        sTcontTable_entry* row = sTcontTable_createEntry(1, 2, 3, onu, tcont);
        row->sTcontTableRowStatus = OVRA_ACTIVE;
        return row;
    }
    void register_get() { MibRegisterCallback(module.did(), CALLBACK_GET, "get", 0, on_get, mibDefFlags); }
    // What GETNEXT from a name leads to; empty at the end of the table.
    Oid next(const Oid& name) {
        Pdu pdu(module);
        pdu.add(name).run(MODE_GETNEXT);
        return pdu.type() == ASN_INTEGER || pdu.type() == ASN_OCTET_STR ? pdu.name() : Oid{};
    }
    Oid next(oid column, const Oid& index) { return next(variable_name(module, column, index)); }
    Oid name(oid column, const Oid& index) { return variable_name(module, column, index); }

    TableModule& module;
};

// ---- the get chain -------------------------------------------------------------------------------

TEST_F(SnmpGet, OneRunOfTheGetChainForAllColumnsOfTheRequest) {
    sTcontTable_entry* row = make(5);
    register_get();
    Pdu pdu(module);
    pdu.get(ALLOC, ROW).get(NAME, ROW).get(STATUS, ROW).run(MODE_GET);
    EXPECT_EQ(g_gets, 1);
    EXPECT_EQ(g_flags.flags[0], 1u << ALLOC | 1u << NAME | 1u << STATUS);
    EXPECT_EQ(pdu.number(0), 4711);
    EXPECT_EQ(row->sTcontTableAllocID, 4711); // kept
}

TEST_F(SnmpGet, RefreshesColumnsThatWerentAskedFor) {
    sTcontTable_entry* row = make(5);
    register_get();
    Pdu(module).get(NAME, ROW).run(MODE_GET);
    EXPECT_EQ(row->sTcontTableAllocID, 4711);
}

TEST_F(SnmpGet, FailingGetCallbackStillAnswers) {
    make(5);
    g_answer = 0;
    register_get();
    Pdu pdu(module);
    pdu.get(ALLOC, ROW).run(MODE_GET);
    EXPECT_EQ(pdu.error(), 0);
    EXPECT_EQ(pdu.number(), 4711);
}

TEST_F(SnmpGet, OnlyTheFirstOfSeveralRowsIsRefreshed) {
    make(5);
    sTcontTable_entry* second = make(6);
    register_get();
    Pdu pdu(module);
    pdu.get(ALLOC, ROW).get(ALLOC, {1, 2, 3, 4, 6}).run(MODE_GET);
    EXPECT_EQ(g_gets, 1);
    EXPECT_EQ(g_tcont, 5u);
    EXPECT_EQ(pdu.number(0), 4711);
    EXPECT_EQ(pdu.number(1), 0);
    EXPECT_EQ(second->sTcontTableAllocID, 0);
}

TEST_F(SnmpGet, NoRunWithoutARow) {
    register_get();
    Pdu pdu(module);
    pdu.get(ALLOC, ROW).run(MODE_GET);
    EXPECT_EQ(pdu.type(), SNMP_NOSUCHINSTANCE);
    EXPECT_EQ(g_gets, 0);
}

TEST_F(SnmpGet, GetNextRunsTheGetChainOnTheRowItLeadsTo) {
    make(5);
    register_get();
    Pdu pdu(module);
    pdu.get(ALLOC, {1, 2}).run(MODE_GETNEXT);
    EXPECT_EQ(g_gets, 1);
    EXPECT_EQ(pdu.number(), 4711);
}

TEST_F(SnmpGet, GetCallbackMayRemoveTheRow) {
    make(5);
    make(6);
    g_remove = true;
    register_get();
    Pdu pdu(module);
    pdu.get(ALLOC, ROW).get(ALLOC, {1, 2, 3, 4, 6}).run(MODE_GET);
    EXPECT_EQ(pdu.type(0), SNMP_NOSUCHINSTANCE);
    EXPECT_EQ(pdu.type(1), ASN_INTEGER);
}

TEST_F(SnmpGet, RequestWithoutTableInfoHasNoSuchInstance) {
    make(5);
    Pdu pdu(module);
    pdu.get(ALLOC, ROW);
    netsnmp_agent_request_info info{};
    info.mode = MODE_GET;
    EXPECT_EQ(sTcontTable_handler(nullptr, nullptr, &info, pdu.request()), 0);
    EXPECT_EQ(pdu.type(), SNMP_NOSUCHINSTANCE);
}

// ---- names ---------------------------------------------------------------------------------------

TEST_F(SnmpGet, OfWrongIndexesFindsNothing) {
    make(5);
    const Oid wrong[] = {
        {}, {1}, {1, 2, 3, 4}, {1, 2, 3, 4, 5, 0}, {1, 2, 3, 4, 5 + (beyond(32))}, {0, 0, 0, 0, 0}};
    for (const Oid& index : wrong) {
        const int type = Pdu(module).get(NAME, index).run(MODE_GET).type();
        EXPECT_TRUE(type == SNMP_NOSUCHINSTANCE || type == SNMP_NOSUCHOBJECT) << index.size();
    }
}

TEST_F(SnmpGet, NextOfAPartialIndexIsTheFirstRowBelowIt) {
    make(0, 0);
    make(5);
    EXPECT_EQ(next(NAME, {}), name(NAME, {1, 2, 3, 0, 0}));
    EXPECT_EQ(next(NAME, {1, 2, 3}), name(NAME, {1, 2, 3, 0, 0}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 0}), name(NAME, {1, 2, 3, 0, 0}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 0, 0}), name(NAME, ROW));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4}), name(NAME, ROW));
    EXPECT_EQ(next(NAME, {1, 2, 3, 5}), name(PROFILE, {1, 2, 3, 0, 0}));
}

TEST_F(SnmpGet, NextOfAnOverLongIndexIsTheRowBehind) {
    make(5);
    make(6);
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, 5, 0}), name(NAME, {1, 2, 3, 4, 6}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, 6, 0, 9, 9}), name(PROFILE, ROW));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, 4, 9}), name(NAME, ROW));
    Oid longest(MAX_OID_LEN - module.table_oid().size() - 2, 1);
    EXPECT_EQ(next(NAME, longest), name(NAME, ROW));
}

TEST_F(SnmpGet, NextOfHugeNumbersStaysInOrder) {
    make(5);
    make(0x80000000u);
    make(0xFFFFFFFFu);
    make(1, 9);
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, 0x7FFFFFFF}), name(NAME, {1, 2, 3, 4, 0x80000000}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, 0x80000000}), name(NAME, {1, 2, 3, 4, 0xFFFFFFFF}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, 0xFFFFFFFF}), name(NAME, {1, 2, 3, 9, 1}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, beyond(32)}), name(NAME, {1, 2, 3, 9, 1}));
    EXPECT_EQ(next(NAME, {1, 2, beyond(40), 0, 0}), name(PROFILE, ROW));
    EXPECT_EQ(next(NAME, {std::numeric_limits<oid>::max()}), name(PROFILE, ROW));
}

TEST_F(SnmpGet, SignExtendedNumbersAreThoseOf32Bits) {
    make(5);
    sTcontTable_entry* great = make(0x80000001u);
    great->sTcontTableBwProfileId = 7;
    make(0x80000003u);
    // How AgentX messages bring them where arcs have 64 bits.
    const auto above = static_cast<oid>(~uint64_t{0xFFFFFFFF});
    EXPECT_EQ(Pdu(module).get(PROFILE, {1, 2, 3, 4, above | 0x80000001}).run(MODE_GET).number(), 7);
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, above | 0x80000000}), name(NAME, {1, 2, 3, 4, 0x80000001}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, above | 0x80000001}), name(NAME, {1, 2, 3, 4, 0x80000003}));
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, above | 0xFFFFFFFF}), name(PROFILE, ROW));
    EXPECT_EQ(Pdu(module).get(PROFILE, {1, 2, 3, 4, above | 5}).run(MODE_GET).type(),
              OID_IS_WIDE ? SNMP_NOSUCHINSTANCE : ASN_INTEGER);
    EXPECT_EQ(Pdu(module).integer(STATUS, {1, 2, 3, 4, above | 0xFFFFFFF0}, OVRA_CREATEANDGO).set(), 0);
    EXPECT_EQ(next(NAME, {1, 2, 3, 4, 0x80000003}), name(NAME, {1, 2, 3, 4, 0xFFFFFFF0}));
}

TEST_F(SnmpGet, NextOfASignedIndexAbove31BitsFollowsTheOthers) {
    make(1, 1);
    make(1, -1);
    EXPECT_EQ(next(NAME, {1, 2, 3, 1, 1}), name(NAME, {1, 2, 3, 0xFFFFFFFF, 1}));
    EXPECT_EQ(Pdu(module).get(STATUS, {1, 2, 3, 0xFFFFFFFF, 1}).run(MODE_GET).number(), OVRA_ACTIVE);
}

TEST_F(SnmpGet, NextOfNamesAroundTheTable) {
    make(5);
    const Oid root(module.table_oid().begin(), module.table_oid().end());
    auto below = [&](const Oid& tail) {
        Oid at = root;
        at.insert(at.end(), tail.begin(), tail.end());
        return at;
    };
    EXPECT_EQ(next(Oid{1, 3}), name(ALLOC, ROW));
    EXPECT_EQ(next(root), name(ALLOC, ROW));
    EXPECT_EQ(next(below({0})), name(ALLOC, ROW));
    EXPECT_EQ(next(below({0, 7, 7})), name(ALLOC, ROW));
    EXPECT_EQ(next(below({1})), name(ALLOC, ROW));
    EXPECT_EQ(next(below({1, 0})), name(ALLOC, ROW));
    EXPECT_EQ(next(below({1, 1, 9, 9, 9, 9, 9, 9})), name(ALLOC, ROW));
    EXPECT_EQ(next(below({1, 6, 1, 2, 3, 4, 5})), Oid{});
    EXPECT_EQ(next(below({1, 7})), Oid{});
    EXPECT_EQ(next(below({1, beyond(33)})), Oid{});
    EXPECT_EQ(next(below({2})), Oid{});
}

TEST_F(SnmpGet, NextOfAnEmptyTableLeavesIt) {
    EXPECT_EQ(next(Oid(module.table_oid().begin(), module.table_oid().end())), Oid{});
    EXPECT_EQ(next(NAME, ROW), Oid{});
}

TEST_F(SnmpGet, NextOfSeveralVariablesMovesEachOnItsOwn) {
    make(5);
    make(6);
    Pdu pdu(module);
    pdu.get(NAME, ROW).get(STATUS, {1, 2, 3, 4, 6}).get(PROFILE, {}).run(MODE_GETNEXT);
    EXPECT_EQ(pdu.name(0), name(NAME, {1, 2, 3, 4, 6}));
    EXPECT_EQ(pdu.type(1), ASN_NULL); // behind the table
    EXPECT_EQ(pdu.name(2), name(PROFILE, ROW));
}

TEST_F(SnmpGet, NextPassesOverNumbersWithoutAColumn) {
    initialize_table_sOnuTable();
    TableModule& onus = table_module_sOnuTable();
    sOnuTable_createEntry(1, 1, 1, 1);
    EXPECT_EQ(Pdu(onus).get(25, {1, 1, 1, 1}).run(MODE_GET).type(), SNMP_NOSUCHOBJECT);
    Pdu last(onus);
    last.get(24, {1, 1, 1, 1}).run(MODE_GETNEXT);
    EXPECT_EQ(last.type(), ASN_NULL);
    EXPECT_EQ(Pdu(onus).get(25, {}).run(MODE_GETNEXT).type(), ASN_NULL);
}

TEST_F(SnmpGet, ReadableIndexColumnIsAnsweredAndNotWritable) {
    initialize_table_sOnuSrvProfileTable();
    TableModule& profiles = table_module_sOnuSrvProfileTable();
    sOnuSrvProfileTable_createEntry(0xFFFFFFF0u);
    Pdu pdu(profiles);
    pdu.get(2, {0xFFFFFFF0}).run(MODE_GET);
    EXPECT_EQ(pdu.type(), ASN_UNSIGNED);
    EXPECT_EQ(static_cast<uint32_t>(pdu.number()), 0xFFFFFFF0u);
    EXPECT_EQ(Pdu(profiles).integer(2, {0xFFFFFFF0}, 1, ASN_UNSIGNED).set(), SNMP_ERR_NOTWRITABLE);
}

// Rows with clustered random keys and names all around them: the finder against a sorted set.
TEST_F(SnmpGet, NextAgreesWithTheOrderOfNamesEverywhere) {
    std::mt19937 random(1);
    const oid numbers[] = {0, 1, 2, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    auto number = [&] { return numbers[random() % std::size(numbers)]; };
    std::set<Oid, VectorLess> names;
    for (int i = 0; i < 300; ++i) {
        Oid index;
        for (int k = 0; k < 5; ++k)
            index.push_back(number());
        sTcontTable_createEntry(int32_t(index[0]), int32_t(index[1]), int32_t(index[2]), int32_t(index[3]),
                                uint32_t(index[4]));
        for (oid column = ALLOC; column <= STATUS; ++column)
            names.insert(name(column, index));
    }
    for (int i = 0; i < 20000; ++i) {
        Oid index;
        for (size_t k = random() % 8; k > 0; --k)
            index.push_back(random() % 16 == 0 ? beyond(32) : number());
        const Oid at = name(1 + random() % 6, index);
        const auto expected = names.upper_bound(at);
        ASSERT_EQ(next(at), expected == names.end() ? Oid{} : *expected);
    }
}

// ---- data points ---------------------------------------------------------------------------------

TEST_F(SnmpGet, DataPointsWalkTheTableWithItsIndex) {
    make(5);
    make(0xFFFFFFFFu);
    netsnmp_variable_list* index = nullptr;
    for (int type : {ASN_INTEGER, ASN_INTEGER, ASN_INTEGER, ASN_INTEGER, ASN_UNSIGNED})
        snmp_varlist_add_variable(&index, nullptr, 0, static_cast<u_char>(type), nullptr, 0);
    void* loop = nullptr;
    void* data = nullptr;
    auto tcont = [&] {
        const netsnmp_variable_list* last = index;
        while (last->next_variable != nullptr)
            last = last->next_variable;
        return *last->val.integer;
    };
    ASSERT_EQ(sTcontTable_get_first_data_point(&loop, &data, index, nullptr), index);
    EXPECT_EQ(static_cast<sTcontTable_entry*>(data)->tcontId, 5u);
    EXPECT_EQ(*index->val.integer, 1);
    EXPECT_EQ(index->type, ASN_INTEGER);
    EXPECT_EQ(tcont(), 5);
    ASSERT_EQ(sTcontTable_get_next_data_point(&loop, &data, index, nullptr), index);
    EXPECT_EQ(static_cast<sTcontTable_entry*>(data)->tcontId, 0xFFFFFFFFu);
    EXPECT_EQ(tcont(), 0xFFFFFFFF);
    EXPECT_EQ(loop, nullptr);
    EXPECT_EQ(sTcontTable_get_next_data_point(&loop, &data, index, nullptr), nullptr);
    snmp_free_varbind(index);
}

TEST_F(SnmpGet, DataPointsOfAnEmptyTableEndAtOnce) {
    void* loop = &loop;
    void* data = nullptr;
    EXPECT_EQ(sTcontTable_get_first_data_point(&loop, &data, nullptr, nullptr), nullptr);
    EXPECT_EQ(sTcontTable_get_next_data_point(&loop, &data, nullptr, nullptr), nullptr);
}

} // namespace
