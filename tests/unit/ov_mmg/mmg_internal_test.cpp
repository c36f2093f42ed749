#include "mmg_internal.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

struct TestRow {
    int32_t slot;
    int32_t port;
    int32_t value;
};

class Rows : public testing::Test {
protected:
    Rows() { EXPECT_EQ(data_Init(did(), 8, sizeof(TestRow)), 1); }
    static MIBDID did() { return mmg_table_did_getbyindex(SPORTQOS); }
    static TestRow* stored(void* row) { return static_cast<TestRow*>(row); }
};

TEST_F(Rows, AreAddedFoundWalkedAndDeleted) {
    TestRow a{1, 256, 1}, b{1, 2, 2};
    TestRow* stored_a = stored(row_add(did(), &a));
    row_add(did(), &b);
    EXPECT_EQ(get_row_num(did()), 2);
    EXPECT_EQ(row_get(did(), &a), stored_a);
    EXPECT_EQ(stored(get_table_head(did()))->value, 2);
    EXPECT_EQ(row_getNext(did(), &b), stored_a);
    EXPECT_EQ(row_getNext(did(), &a), nullptr);
    TestRow absent{1, 3, 0};
    EXPECT_EQ(row_getNext(did(), &absent), stored_a);
    EXPECT_NE(row_get_fuzzy(did(), &absent), nullptr);
    EXPECT_EQ(row_del(did(), &a), 1);
    EXPECT_EQ(row_get(did(), &a), nullptr);
    EXPECT_EQ(get_row_num(did()), 1);
}

TEST_F(Rows, AddOfAnExistingKeyReturnsTheExistingRowUntouchedAndPrints) {
    TestRow row{1, 1, 5};
    void* first = row_add(did(), &row);
    row.value = 6;
    testing::internal::CaptureStdout();
    EXPECT_EQ(row_add(did(), &row), first);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "row_add fail: the row existed\r");
    EXPECT_EQ(stored(first)->value, 5);
    EXPECT_EQ(get_row_num(did()), 1);
}

TEST_F(Rows, DeleteOfAnAbsentRowPrints) {
    TestRow row{1, 1, 5};
    testing::internal::CaptureStdout();
    EXPECT_EQ(row_del(did(), &row), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "row_del fail: the row not exist\r");
}

TEST_F(Rows, UpdateCopiesTheWholeRow) {
    TestRow row{1, 1, 5};
    void* first = row_add(did(), &row);
    row.value = 6;
    EXPECT_EQ(row_update(did(), &row), 1);
    EXPECT_EQ(stored(first)->value, 6);
    EXPECT_EQ(row_update(did(), first), 1);
    TestRow absent{1, 2, 0};
    testing::internal::CaptureStdout();
    EXPECT_EQ(row_update(did(), &absent), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "row_update fail: the row not exist\r");
}

TEST_F(Rows, OneRowWithAllZeroIndexesIsFoundAndIsTheOnlyOne) {
    TestRow zero{0, 0, 7};
    void* row = row_add(did(), &zero);
    EXPECT_EQ(row_get(did(), &zero), row);
    EXPECT_EQ(get_table_head(did()), row);
    EXPECT_EQ(get_row_num(did()), 1);
    EXPECT_EQ(row_getNext(did(), row), nullptr);
    EXPECT_EQ(row_del(did(), &zero), 1);
    EXPECT_EQ(get_table_head(did()), nullptr);
}

TEST_F(Rows, ATableWithABadKeySizeIsRefusedInWords) {
    for (int key_size : {0, 257}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(data_Init(did(), key_size, 400), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "failed patricia tree create\r");
    }
    TestRow row{1, 1, 1};
    EXPECT_EQ(row_add(did(), &row), nullptr);
    EXPECT_EQ(get_table_head(did()), nullptr);
}

TEST_F(Rows, ATableWithoutTreeAndANullIdentityHoldNothing) {
    TestRow row{1, 1, 1};
    MIBDid_t outside{MIB_TABLE_SLOTS, 0, 0, "outside"};
    for (MIBDID none : {MIBDID{}, mmg_table_did_getbyindex(SNTPSERVER), &outside}) {
        EXPECT_EQ(row_add(none, &row), nullptr);
        EXPECT_EQ(row_get(none, &row), nullptr);
        EXPECT_EQ(row_get_fuzzy(none, &row), nullptr);
        EXPECT_EQ(row_getNext(none, &row), nullptr);
        EXPECT_EQ(get_table_head(none), nullptr);
        EXPECT_EQ(row_del(none, &row), 0);
        EXPECT_EQ(row_update(none, &row), 0);
        EXPECT_EQ(get_row_num(none), 0);
    }
    EXPECT_EQ(row_add(did(), nullptr), nullptr);
    EXPECT_EQ(row_get(did(), nullptr), nullptr);
    EXPECT_EQ(row_del(did(), nullptr), 0);
}

} // namespace
