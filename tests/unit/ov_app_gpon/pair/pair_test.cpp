// Writes to working ports that are repeated on their partners.
#include "ov_app_gpon_pair.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "../../ov_common/private_root.h"
#include "../../support/log_capture.h"
#include "../../support/test_clock.h"

namespace {

struct Row {
    int32_t slotID;
    int32_t portID;
    int32_t value;
};

std::string written;

void note(const char* table, void* row, const MIB_Flags_t& columns, int action, ov_ifindex_t partner) {
    written += std::string(table) + " " + std::to_string(static_cast<Row*>(row)->value) + " column 7 " +
               (mib_flag_is_set(columns, 7) ? "yes" : "no") + " action " + std::to_string(action) + " on " +
               std::to_string(partner) + "\n";
    static_cast<Row*>(row)->value = -1;
}
void write_gem(void* row, const MIB_Flags_t& columns, int action, ov_ifindex_t partner) {
    note("gem", row, columns, action, partner);
}
void write_onu(void* row, const MIB_Flags_t& columns, int action, ov_ifindex_t partner) {
    note("onu", row, columns, action, partner);
}

// Each table has a writer that notes what it is given.
template <typename Body>
void with_writers(Body body) {
    private_root::run([&body] {
        LogCapture log;
        TestClock clock;
        ov_app_gpon_pair_writer_set(SYNC_SGEM, write_gem);
        ov_app_gpon_pair_writer_set(SYNC_SONU, write_onu);
        body(log, clock);
    });
}
MIB_Flags_t column_7() {
    MIB_Flags_t columns = {};
    mib_flag_set(columns, 7);
    return columns;
}
int repeat(int table, const Row& row, int action, ov_ifindex_t partner) {
    return ov_app_pon_protect_group_config_table_sync(table, &row, sizeof row, column_7(), action, partner);
}

TEST(PairWrite, ComesBehindTheAccessInTheOrderOfTheWrites) {
    with_writers([](LogCapture& /*log*/, TestClock& clock) {
        Row row = {3, 16, 5};
        EXPECT_EQ(repeat(SYNC_SONU, row, 1, 77), 1);
        row.value = 6; // the first was copied
        EXPECT_EQ(repeat(SYNC_SGEM, row, 2, 78), 1);
        EXPECT_EQ(written, "");
        ASSERT_EQ(clock.armed(), 2u);
        EXPECT_EQ(clock.run_next(), 1);
        EXPECT_EQ(written, "onu 5 column 7 yes action 1 on 77\n");
        EXPECT_EQ(clock.run_next(), 1);
        EXPECT_EQ(written, "onu 5 column 7 yes action 1 on 77\ngem 6 column 7 yes action 2 on 78\n");
        EXPECT_EQ(row.value, 6);
    });
}

TEST(PairWrite, OfATableThatNobodyWritesIsForgotten) {
    with_writers([](LogCapture& log, TestClock& clock) {
        written.clear();
        ov_app_gpon_pair_writer_set(SYNC_SGEM, nullptr);
        for (const int table : {int{SYNC_SGEM}, int{SYNC_SPON}, 0, -1, SYNC_TABLES + 1, INT_MIN, INT_MAX}) {
            EXPECT_EQ(repeat(table, {3, 16, 5}, 1, 77), 1) << table;
            EXPECT_EQ(clock.run_next(), 1);
        }
        EXPECT_EQ(clock.armed(), 0u);
        EXPECT_EQ(written, "");
        EXPECT_TRUE(log.lines().empty());
    });
}

TEST(PairWrite, OfManyRowsKeepsTheirOrder) {
    with_writers([](LogCapture& /*log*/, TestClock& clock) {
        written.clear();
        std::string expected;
        for (int n = 0; n < 1000; ++n) {
            ASSERT_EQ(repeat(n % 2 == 0 ? SYNC_SONU : SYNC_SGEM, {3, 16, n}, 3, 77), 1);
            expected += (n % 2 == 0 ? "onu " : "gem ") + std::to_string(n) + " column 7 yes action 3 on 77\n";
        }
        while (clock.armed() > 0)
            clock.run_next();
        EXPECT_EQ(written, expected);
    });
}

} // namespace
