// Counters of line cards.
#include <gtest/gtest.h>

#include <climits>

#include "../ov_common/product_test_env.h"
#include "ov_gpon.h"
#include "ov_slot.h"

namespace {

class Resources : public ::testing::Test {
protected:
    void SetUp() override {
        ov_slot_deinit();
        platform.set("PDT_INFO_SHELF_TYPE", std::to_string(OV_SHELF_TYPE_LC14));
        platform.set("slot", "8");
        ASSERT_EQ(ov_slot_init(), 0u);
        ov_gpon_const_val_init();
        cards = static_cast<int>(ov_slot_get_max_lc_num());
        ASSERT_GT(cards, 3);
        ASSERT_LT(cards, 31);
        LogTap::take();
    }
    void TearDown() override { ov_slot_deinit(); }

    static std::vector<LogLine> line(const std::string& text) { return {{OV_LOG_LVL_ERROR, "LIB", text}}; }

    FakePlatform platform;
    LogTap log;
    int cards = 0;
};

struct Limit {
    ov_gpon_attr_index_t type;
    int limit;
    int32_t (*used)(int slot_idx, int port_idx);
    const char* over;     // one more than the limit
    const char* too_much; // slot 3, port 4: one given back that nobody holds
};

const Limit LIMITS[] = {
    {TCONT_LIMIT_INDEX, 512, [](int s, int p) { return g_gponCntLimit[s].tcontCnt[p]; },
     "tcont count[513] over limit 512", "tcont num 1 over g_gponCntLimit[2].tcontCnt[3] 0"},
    {GEM_LIMIT_INDEX, 1024, [](int s, int p) { return g_gponCntLimit[s].gemCnt[p]; },
     "gem count[1025] over limit 1024", "gem num 1 over g_gponCntLimit[2].gemCnt[3] 0"},
    {SRVPORT_LIMIT_INDEX, 8000, [](int s, int /*p*/) { return g_gponCntLimit[s].srvPortCnt; },
     "service port count[8001] over limit 8000", "service port num 1 over g_gponCntLimit[2].srvPortCnt 0"},
    {BW_LIMIT_INDEX, 800000, [](int s, int p) { return g_gponCntLimit[s].usedFixBandwidth[p]; },
     "bandwidth fix[800001] over limit 800000", "bandwidth 1 over g_gponCntLimit[2].usedFixBanwidth[3] 0"},
    {USMAXBW_LIMIT_INDEX, 1200000, [](int s, int p) { return g_gponCntLimit[s].usedMaxBandwidth[p]; },
     "bandwidth max[1200001] over limit 1200000", "bandwidth 1 over g_gponCntLimit[2].usedMaxBandwidth[3] 0"},
};

TEST_F(Resources, TheLimitIsReachedAndNotExceeded) {
    for (const Limit& l : LIMITS) {
        EXPECT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, l.limit - 1), KAVO_OK);
        EXPECT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, 1), KAVO_OK);
        EXPECT_TRUE(LogTap::take().empty());
        EXPECT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, 1), KAVO_ERR);
        EXPECT_EQ(LogTap::take(), line(l.over));
        EXPECT_EQ(l.used(2, 3), l.limit);
    }
}

TEST_F(Resources, EachTypeHasACounterOfItsOwn) {
    int amount = 10;
    for (const Limit& l : LIMITS)
        EXPECT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, amount++), KAVO_OK);
    amount = 10;
    for (const Limit& l : LIMITS)
        EXPECT_EQ(l.used(2, 3), amount++);
}

TEST_F(Resources, GivingBackFreesRoom) {
    for (const Limit& l : LIMITS) {
        ASSERT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, l.limit), KAVO_OK);
        EXPECT_EQ(ov_gpon_resource_release(l.type, 3, 4, 5), KAVO_OK);
        EXPECT_EQ(l.used(2, 3), l.limit - 5);
        EXPECT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, 5), KAVO_OK);
        EXPECT_EQ(ov_gpon_resource_release(l.type, 3, 4, l.limit), KAVO_OK);
        EXPECT_EQ(l.used(2, 3), 0);
    }
    EXPECT_TRUE(LogTap::take().empty());
}

TEST_F(Resources, MoreThanIsHeldCannotBeGivenBack) {
    for (const Limit& l : LIMITS) {
        EXPECT_EQ(ov_gpon_resource_release(l.type, 3, 4, 1), KAVO_ERR);
        EXPECT_EQ(LogTap::take(), line(l.too_much));
        EXPECT_EQ(l.used(2, 3), 0);
    }
}

TEST_F(Resources, ARefusedReleaseNamesWhatIsHeld) {
    ASSERT_EQ(ov_gpon_resource_reserve(GEM_LIMIT_INDEX, 1, 16, 7), KAVO_OK);
    EXPECT_EQ(ov_gpon_resource_release(GEM_LIMIT_INDEX, 1, 16, 8), KAVO_ERR);
    EXPECT_EQ(LogTap::take(), line("gem num 8 over g_gponCntLimit[0].gemCnt[15] 7"));
    EXPECT_EQ(g_gponCntLimit[0].gemCnt[15], 7);
}

TEST_F(Resources, NothingIsAlwaysToBeHad) {
    for (const Limit& l : LIMITS) {
        EXPECT_EQ(ov_gpon_resource_release(l.type, 3, 4, 0), KAVO_OK);
        ASSERT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, l.limit), KAVO_OK);
        EXPECT_EQ(ov_gpon_resource_reserve(l.type, 3, 4, 0), KAVO_OK);
        EXPECT_EQ(l.used(2, 3), l.limit);
    }
    EXPECT_TRUE(LogTap::take().empty());
}

TEST_F(Resources, ServicePortsAreCountedForTheCard) {
    for (int port = 1; port <= 16; ++port)
        EXPECT_EQ(ov_gpon_resource_reserve(SRVPORT_LIMIT_INDEX, 3, port, 500), KAVO_OK);
    EXPECT_EQ(ov_gpon_resource_reserve(SRVPORT_LIMIT_INDEX, 3, 9, 1), KAVO_ERR);
    EXPECT_EQ(ov_gpon_resource_reserve(SRVPORT_LIMIT_INDEX, 4, 9, 1), KAVO_OK);
}

TEST_F(Resources, PortsAndCardsAreCountedByThemselves) {
    ASSERT_EQ(ov_gpon_resource_reserve(TCONT_LIMIT_INDEX, 3, 4, 512), KAVO_OK);
    EXPECT_EQ(ov_gpon_resource_reserve(TCONT_LIMIT_INDEX, 3, 5, 512), KAVO_OK);
    EXPECT_EQ(ov_gpon_resource_reserve(TCONT_LIMIT_INDEX, cards, 4, 512), KAVO_OK);
}

TEST_F(Resources, SlotsAndPortsOutsideTheChassisAreRefusedWithZeroBasedNumbers) {
    const std::pair<int, int> wrong[] = {{0, 1},  {-1, 1},      {cards + 1, 1}, {31, 15}, {3, 0},
                                         {3, 17}, {INT_MAX, 1}, {3, INT_MAX},   {3, -5}};
    for (const auto& [slot, port] : wrong) {
        const auto text =
            line("wrong parameter slot " + std::to_string(slot - 1) + " port " + std::to_string(port - 1));
        EXPECT_EQ(ov_gpon_resource_reserve(TCONT_LIMIT_INDEX, slot, port, 1), KAVO_PARAM);
        EXPECT_EQ(LogTap::take(), text);
        EXPECT_EQ(ov_gpon_resource_release(TCONT_LIMIT_INDEX, slot, port, 1), KAVO_PARAM);
        EXPECT_EQ(LogTap::take(), text);
    }
    EXPECT_EQ(ov_gpon_resource_reserve(TCONT_LIMIT_INDEX, INT_MIN, INT_MIN, 1), KAVO_PARAM);
}

TEST_F(Resources, UnknownTypesAreRefusedSilently) {
    for (const int type : {5, 6, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(ov_gpon_resource_reserve(static_cast<ov_gpon_attr_index_t>(type), 3, 4, 1), KAVO_ERR);
        EXPECT_EQ(ov_gpon_resource_release(static_cast<ov_gpon_attr_index_t>(type), 3, 4, 1), KAVO_ERR);
    }
    EXPECT_TRUE(LogTap::take().empty());
}

TEST_F(Resources, HugeAmountsDoNotWrapAround) {
    ASSERT_EQ(ov_gpon_resource_reserve(BW_LIMIT_INDEX, 3, 4, 800000), KAVO_OK);
    EXPECT_EQ(ov_gpon_resource_reserve(BW_LIMIT_INDEX, 3, 4, INT_MAX), KAVO_ERR);
    EXPECT_EQ(g_gponCntLimit[2].usedFixBandwidth[3], 800000);
}

// ---- numbers and flags --------------------------------------------------------------------------------

TEST(GponNumbers, OfTheSystem) {
    EXPECT_EQ(ov_gpon_maxslot_get(), 18);
    EXPECT_EQ(ov_gpon_maxpon_get(), 16);
    EXPECT_EQ(ov_gpon_max_srvpofile_num(), 128);
}

TEST(ConfigSync, IsKnownForEachSlotAndForNoOther) {
    for (int slot = 1; slot <= 18; ++slot)
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(slot), 0);
    ov_startup_gpon_config_sync_end_set(1, 1);
    ov_startup_gpon_config_sync_end_set(18, 1);
    for (int slot = 1; slot <= 18; ++slot)
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(slot), slot == 1 || slot == 18 ? 1 : 0);
    for (const int slot : {0, 19, 31, -1, INT_MIN, INT_MAX}) {
        ov_startup_gpon_config_sync_end_set(slot, 1);
        EXPECT_EQ(ov_startup_gpon_config_sync_end_check(slot), 0);
    }
    ov_startup_gpon_config_sync_end_set(1, 0);
    ov_startup_gpon_config_sync_end_set(18, 0);
    EXPECT_EQ(ov_startup_gpon_config_sync_end_check(18), 0);
}

} // namespace
