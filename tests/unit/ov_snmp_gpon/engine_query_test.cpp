#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>
#include <vector>

#include "../support/log_tap.h"
#include "engine_tables.h"

namespace {

class Query : public testing::Test {
protected:
    Query() {
        module.initialize_table_data();
        ovralist_init(&result);
    }
    void add(int32_t shelf, int32_t slot, int32_t port, int32_t onu, uint32_t id) {
        CrateRow row = crate(shelf, slot, port, onu, id);
        ASSERT_NE(row_add(module.did(), &row), nullptr);
    }
    int query(CrateRow row, int flag) {
        ovralist_init(&result);
        return module.query_by_condition(&row, flag, 1, &result, nullptr, nullptr);
    }
    std::vector<CrateRow> rows() {
        std::vector<CrateRow> rows;
        ovralist_iterator_start(&result);
        while (ovralist_iterator_hasnext(&result))
            rows.push_back(*static_cast<CrateRow*>(ovralist_iterator_next(&result)));
        ovralist_iterator_stop(&result);
        return rows;
    }
    std::vector<uint32_t> ids() {
        std::vector<uint32_t> ids;
        for (const CrateRow& row : rows())
            ids.push_back(row.crateId);
        return ids;
    }

    LogTap log;
    TableModule& module = crate_module();
    ovralist_t result;
};

using Ids = std::vector<uint32_t>;

TEST_F(Query, RowsMatchOnTheChosenLeadingColumns) {
    add(1, 1, 9, 9, 1);
    add(1, 2, 1, 1, 3);
    add(1, 2, 0, 0, 0);
    add(1, 2, 1, 1, 2);
    add(1, 3, 0, 0, 4);
    EXPECT_EQ(query(crate(1, 2, 77, 77, 77), 3), 3);
    EXPECT_EQ(ids(), (Ids{0, 2, 3}));
    EXPECT_EQ(query(crate(1, 2, 1, 0, 0), 7), 2);
    EXPECT_EQ(query(crate(1, 4, 0, 0, 0), 3), 0);
    EXPECT_EQ(query(crate(1, 2, 1, 1, 3), 31), 1);
    EXPECT_EQ(ids(), Ids{3});
}

TEST_F(Query, RowsMatchOnColumnsThatDontLead) {
    add(1, 1, 1, 1, 5);
    add(1, 1, 2, 1, 5);
    add(2, 1, 1, 1, 5);
    add(2, 2, 2, 2, 6);
    EXPECT_EQ(query(crate(0, 0, 1, 0, 0), 4), 2) << "port only";
    EXPECT_EQ(query(crate(1, 0, 2, 0, 0), 5), 1) << "shelf and port";
    EXPECT_EQ(query(crate(0, 0, 0, 0, 0), 0), 4) << "no column: every row";
}

TEST_F(Query, TheRowOfTheAllZeroKeyIsFound) {
    add(0, 0, 0, 0, 0);
    add(0, 0, 0, 0, 7);
    EXPECT_EQ(query(crate(0, 0, 0, 0, 0), 3), 2);
    EXPECT_EQ(query(crate(0, 0, 0, 0, 0), 31), 1);
}

TEST_F(Query, NegativeIndexesStandBehindInTheTableAndInFrontInTheResult) {
    add(1, -2, 0, 0, 1);
    add(1, 5, 0, 0, 2);
    add(1, -1, 0, 0, 3);
    add(-1, 5, 0, 0, 4);
    EXPECT_EQ(query(crate(1, 0, 0, 0, 0), 1), 3);
    EXPECT_EQ(ids(), (Ids{1, 3, 2}));
    EXPECT_EQ(query(crate(1, -1, 0, 0, 0), 3), 1);
    EXPECT_EQ(query(crate(-1, 0, 0, 0, 0), 1), 1);
}

TEST_F(Query, WithoutResultItCountsAndLeavesTheListAlone) {
    add(1, 2, 3, 4, 5);
    add(1, 2, 3, 4, 6);
    CrateRow row = crate(1, 2, 0, 0, 0);
    int element = 0;
    ovralist_append(&result, &element);
    EXPECT_EQ(module.query_by_condition(&row, 3, 0, &result, nullptr, nullptr), 2);
    EXPECT_EQ(ovralist_size(&result), 1u);
    EXPECT_EQ(result.comparator, nullptr);
    EXPECT_EQ(module.query_by_condition(&row, 3, 0, nullptr, nullptr, nullptr), 2);
}

TEST_F(Query, TheResultIsCopiesSoThatRowsMayBeDeletedMeanwhile) {
    for (uint32_t id = 0; id < 20; ++id)
        add(1, 2, 3, 4, id);
    EXPECT_EQ(query(crate(1, 2, 0, 0, 0), 3), 20);
    int walked = 0;
    ovralist_iterator_start(&result);
    while (ovralist_iterator_hasnext(&result)) {
        void* row = ovralist_iterator_next(&result);
        EXPECT_EQ(MibAccessHandle(MIB_DEL, 0, module.did(), row, mibDefFlags, 0), MIB_OK);
        ++walked;
    }
    EXPECT_EQ(walked, 20);
    EXPECT_EQ(module.row_count(), 0);
}

TEST_F(Query, TheCallersOrderAndConditionAreUsed) {
    for (uint32_t id : {1u, 2u, 3u, 4u})
        add(1, 2, 3, 4, id);
    CrateRow row = crate(9, 9, 9, 9, 2);
    auto downwards = [](const void* a, const void* b) {
        auto first = static_cast<const CrateRow*>(a)->crateId,
             second = static_cast<const CrateRow*>(b)->crateId;
        return first == second ? 0 : (first > second ? 1 : -1);
    };
    auto same_parity = [](void* wanted, void* stored, int flag) {
        EXPECT_EQ(flag, 31);
        return static_cast<int>(
            (static_cast<CrateRow*>(wanted)->crateId ^ static_cast<CrateRow*>(stored)->crateId) & 1u);
    };
    EXPECT_EQ(module.query_by_condition(&row, 31, 1, &result, downwards, same_parity), 2);
    EXPECT_EQ(ids(), (Ids{4, 2}));
}

TEST_F(Query, AConditionRunsUnderTheTablesMutex) {
    add(1, 2, 3, 4, 5);
    CrateRow row{};
    auto try_lock_elsewhere = [](void*, void*, int) {
        int error = 0;
        std::thread([&] {
            error = pthread_mutex_trylock(getMutex(crate_module().did()));
            if (error == 0)
                pthread_mutex_unlock(getMutex(crate_module().did()));
        }).join();
        return error == EBUSY ? 0 : 1;
    };
    EXPECT_EQ(module.query_by_condition(&row, 0, 0, nullptr, nullptr, try_lock_elsewhere), 1);
}

TEST_F(Query, AgreesWithAPlainWalkOnRandomTables) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int32_t> small(-2, 2);
    for (int i = 0; i < 400; ++i) {
        CrateRow row = crate(small(random), small(random), small(random), small(random),
                             static_cast<uint32_t>(small(random)));
        if (row_get(module.did(), &row) == nullptr)
            row_add(module.did(), &row);
    }
    for (int i = 0; i < 500; ++i) {
        CrateRow wanted = crate(small(random), small(random), small(random), small(random),
                                static_cast<uint32_t>(small(random)));
        int flag = std::uniform_int_distribution<int>(0, 31)(random);
        std::vector<CrateRow> expected;
        for (void* row = get_table_head(module.did()); row != nullptr; row = row_getNext(module.did(), row)) {
            if (module.compare_part_index(&wanted, row, flag) == 0)
                expected.push_back(*static_cast<CrateRow*>(row));
        }
        std::stable_sort(expected.begin(), expected.end(), [&](const CrateRow& a, const CrateRow& b) {
            return module.compare_index(&a, &b) > 0;
        });
        ASSERT_EQ(query(wanted, flag), static_cast<int>(expected.size())) << flag;
        std::vector<CrateRow> found = rows();
        for (size_t n = 0; n < expected.size(); ++n)
            ASSERT_TRUE(same_bytes(&found[n], &expected[n], sizeof(CrateRow))) << flag;
    }
}

// ---- compare ---------------------------------------------------------------------------------------

TEST(Compare, TheSignIsTheReverseOfTheUsual) {
    CrateRow small = crate(1, 2, 3, 4, 5), great = crate(1, 2, 3, 4, 6);
    EXPECT_EQ(crate_module().compare_index(&small, &great), 1);
    EXPECT_EQ(crate_module().compare_index(&great, &small), -1);
    EXPECT_EQ(crate_module().compare_index(&small, &small), 0);
}

TEST(Compare, SignedColumnsCompareSignedAndUnsignedOnesUnsigned) {
    CrateRow negative = crate(-1, 0, 0, 0, 0), positive = crate(1, 0, 0, 0, 0);
    EXPECT_EQ(crate_module().compare_index(&negative, &positive), 1);
    CrateRow huge = crate(0, 0, 0, 0, 4000000000u), one = crate(0, 0, 0, 0, 1);
    EXPECT_EQ(crate_module().compare_index(&huge, &one), -1);
}

TEST(Compare, OnlyChosenColumnsCount) {
    CrateRow a = crate(1, 2, 3, 4, 5), b = crate(1, 2, 9, 9, 9);
    EXPECT_EQ(crate_module().compare_part_index(&a, &b, 3), 0);
    EXPECT_EQ(crate_module().compare_part_index(&a, &b, 4), 1);
    EXPECT_EQ(crate_module().compare_part_index(&a, &b, 0), 0);
}

} // namespace
