#include "ov_gpon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "ov_slot.h"

namespace {

TEST(GponConstVal, LimitsOfAPonPortAndACard) {
    ov_slot_init();
    ov_gpon_const_val_init();
    EXPECT_EQ(g_gponConstVal.tcontMaxCnt, 512);
    EXPECT_EQ(g_gponConstVal.gemMaxCnt, 1024);
    EXPECT_EQ(g_gponConstVal.srvPortMaxCnt, 8000);
    EXPECT_EQ(g_gponConstVal.usMaxBw, 1200000);
    EXPECT_EQ(g_gponConstVal.usMaxFixBw, 800000);
    EXPECT_EQ(g_gponConstVal.usMinBw, 0);
    EXPECT_EQ(g_gponConstVal.dsMaxBw, 0);
}

TEST(GponConstVal, OneZeroedCounterRecordPerLineCard) {
    ov_slot_init();
    ov_gpon_const_val_init();
    ASSERT_NE(g_gponCntLimit, nullptr);
    const auto* bytes = reinterpret_cast<const unsigned char*>(g_gponCntLimit);
    const size_t size = ov_slot_get_max_lc_num() * sizeof(ov_gpon_cnt_limit_t);
    ASSERT_GT(size, 0u);
    EXPECT_TRUE(std::all_of(bytes, bytes + size, [](unsigned char b) { return b == 0; }));
}

TEST(GponConstVal, RecordsAreThirtyTwoBitWide) {
    EXPECT_EQ(sizeof(ov_gpon_const_value_t), 7 * 4u);
    EXPECT_EQ(sizeof(ov_gpon_cnt_limit_t), (4 * 16 + 1) * 4u);
}

} // namespace
