#include "ov_slot.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ov_types.h"
#include "product_test_env.h"

namespace {

constexpr slot_bitmap_t bits(std::initializer_list<uint32_t> slots) {
    slot_bitmap_t bitmap = 0;
    for (uint32_t slot : slots)
        bitmap |= 1u << slot;
    return bitmap;
}

class Slots : public ::testing::Test {
protected:
    void SetUp() override { start("53"); }
    void TearDown() override { ov_slot_deinit(); }

    void start(const char* shelf_type) {
        ov_slot_deinit();
        ov_product_deinit();
        platform.set("PDT_INFO_SHELF_TYPE", shelf_type);
        ASSERT_EQ(ov_slot_init(), 0u);
        LogTap::take();
    }
    const ov_shelf_info_t& shelf = g_shelf_slot_info;
    FakePlatform platform;
    LogTap log;
};

// ---- the shelf ---------------------------------------------------------------------------------------

TEST_F(Slots, LargestShelfIsClassified) {
    EXPECT_EQ(shelf.shelfConfig.shelf_type, 53u);
    EXPECT_EQ(shelf.shelfId, 1u);
    EXPECT_EQ(shelf.maxSlotNum, 22u);
    EXPECT_EQ(shelf.standbyScSupport, 1u);
    EXPECT_EQ(shelf.activeScSlot, 0u);
    const slot_bitmap_t smart = 0x1FFFEu; // 1 to 16
    EXPECT_EQ(shelf.slotBitsSmartCard, smart);
    EXPECT_EQ(shelf.slotBitsSrvsCard, smart | bits({17, 18}));
    EXPECT_EQ(shelf.slotBitsNonSrvsCard, bits({19, 20, 21, 22}));
    EXPECT_EQ(ov_slot_get_min_slot_num(), 1u);
    EXPECT_EQ(ov_slot_get_max_slot_num(), 22u);
    EXPECT_EQ(ov_slot_get_max_lc_num(), 16u);
    EXPECT_EQ(ov_slot_get_sc1_slotId(), 8u);
    EXPECT_EQ(ov_slot_get_sc2_slotId(), 9u);
    EXPECT_EQ(ov_slot_get_uplink1_slotId(), 17u);
    EXPECT_EQ(ov_slot_get_uplink2_slotId(), 18u);
    EXPECT_EQ(ov_slot_get_pwr1_slotId(), 19u);
    EXPECT_EQ(ov_slot_get_pwr2_slotId(), 20u);
    EXPECT_EQ(ov_slot_get_fan_slotId(), 21u);
    EXPECT_EQ(ov_slot_get_bp_card_slotId(), 22u);
}

TEST_F(Slots, SixCardShelfIsClassified) {
    start("51");
    EXPECT_EQ(shelf.slotBitsSmartCard, bits({1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(shelf.slotBitsSrvsCard, bits({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(shelf.slotBitsNonSrvsCard, bits({11, 12, 13, 14}));
    EXPECT_EQ(shelf.standbyScSupport, 1u);
    EXPECT_EQ(ov_slot_get_max_slot_num(), 14u);
    EXPECT_EQ(ov_slot_get_max_lc_num(), 8u);
    EXPECT_EQ(ov_slot_get_sc1_slotId(), 7u);
    EXPECT_EQ(ov_slot_get_sc2_slotId(), 8u);
    EXPECT_EQ(ov_slot_get_uplink1_slotId(), 9u);
    EXPECT_EQ(ov_slot_get_uplink2_slotId(), 10u);
    EXPECT_EQ(ov_slot_get_pwr1_slotId(), 11u);
    EXPECT_EQ(ov_slot_get_pwr2_slotId(), 12u);
    EXPECT_EQ(ov_slot_get_fan_slotId(), 13u);
    EXPECT_EQ(ov_slot_get_bp_card_slotId(), 14u);
}

TEST_F(Slots, SingleBoardShelfIsClassified) {
    start("52");
    EXPECT_EQ(shelf.slotBitsSmartCard, bits({1}));
    EXPECT_EQ(shelf.slotBitsSrvsCard, bits({1}));
    EXPECT_EQ(shelf.slotBitsNonSrvsCard, 0u);
    EXPECT_EQ(shelf.standbyScSupport, 0u);
    EXPECT_EQ(ov_slot_get_max_slot_num(), 1u);
    EXPECT_EQ(ov_slot_get_max_lc_num(), 1u);
    EXPECT_EQ(ov_slot_get_sc1_slotId(), 1u);
    EXPECT_EQ(ov_slot_get_sc2_slotId(), 0u);
    EXPECT_EQ(ov_slot_get_uplink1_slotId(), 0u);
}

TEST_F(Slots, SecondInitKeepsWhatThereIs) {
    ov_slot_set_active_sc(8);
    ov_slot_create(3, 77, 1);
    EXPECT_EQ(ov_slot_init(), 0u);
    EXPECT_EQ(ov_slot_get_active_sc_slotId(), 8u);
    EXPECT_NE(ov_slot_lookup_by_slotid(3), nullptr);
}

TEST_F(Slots, ShelfConfigIsFilledOnce) {
    ov_product_deinit();
    platform.set("PDT_INFO_SHELF_TYPE", "51");
    ov_shelf_config_init();
    EXPECT_EQ(shelf.shelfConfig.shelf_type, 53u);
}

TEST_F(Slots, BeforeInitNothingIsThere) {
    ov_slot_deinit();
    EXPECT_EQ(ov_slot_create(3, 1, 1), nullptr);
    EXPECT_EQ(ov_slot_lookup_by_slotid(3), nullptr);
    EXPECT_EQ(ov_slot_delete(3), -1);
    EXPECT_EQ(ov_slot_get_max_slot_num(), 0u);
    EXPECT_EQ(ov_slot_get_card_num(), 0u);
    EXPECT_STREQ(ov_slot_role_text(3), "");
}

TEST_F(Slots, RoleTexts) {
    const std::vector<std::pair<uint32_t, const char*>> expected = {
        {1, "lc"},   {7, "lc"},         {8, "sc"},      {9, "sc"},     {10, "lc"},
        {16, "lc"},  {17, "uplink"},    {18, "uplink"}, {19, "power"}, {20, "power"},
        {21, "fan"}, {22, "backplane"}, {23, ""},       {0, ""},       {32, ""}};
    for (const auto& [slot, text] : expected)
        EXPECT_STREQ(ov_slot_role_text(slot), text) << slot;
    start("52");
    EXPECT_STREQ(ov_slot_role_text(1), "sc");
    EXPECT_STREQ(ov_slot_role_text(2), "");
}

// ---- records -----------------------------------------------------------------------------------------

TEST_F(Slots, CreatedCardIsFoundAndMarked) {
    ov_slot_info_t* info = ov_slot_create(3, 77, 1);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(ov_slot_lookup_by_slotid(3), info);
    EXPECT_EQ(info->slotIndex.shelfId, 1);
    EXPECT_EQ(info->slotIndex.slotId, 3);
    EXPECT_EQ(info->slotIndex.cardId, 0);
    EXPECT_EQ(info->slotType, 77u);
    EXPECT_EQ(info->sysCardFlag, 0u);
    EXPECT_EQ(info->inserted_stat.cur_status, 1u);
    EXPECT_NE(info->inserted_stat.change_time, 0);
    EXPECT_EQ(shelf.slotBitsAdded, bits({3}));
    EXPECT_EQ(g_slot_bitmap_inserted, bits({3}));
}

TEST_F(Slots, CreateOfAnExistingCardUpdatesItsType) {
    ov_slot_info_t* info = ov_slot_create(3, 77, 0);
    EXPECT_EQ(g_slot_bitmap_inserted, 0u);
    EXPECT_EQ(ov_slot_create(3, 78, 1), info);
    EXPECT_EQ(info->slotType, 78u);
    EXPECT_EQ(g_slot_bitmap_inserted, bits({3}));
    EXPECT_EQ(ov_slot_get_card_num(), 1u);
}

TEST_F(Slots, CreateRefusesSlotsThatTheShelfDoesNotHave) {
    for (uint32_t slot : {0u, 23u, 31u, 32u, 33u, 4294967295u})
        EXPECT_EQ(ov_slot_create(slot, 1, 1), nullptr) << slot;
    EXPECT_EQ(shelf.slotBitsAdded, 0u);
    EXPECT_EQ(ov_slot_lookup_by_slotid(32 + 3), nullptr);
}

TEST_F(Slots, CardsAreListedInOrderOfSlots) {
    for (uint32_t slot : {16u, 3u, 9u, 1u})
        ASSERT_NE(ov_slot_create(slot, slot, 1), nullptr);
    std::vector<int> order;
    for (size_t i = 0; i < ov_slot_get_card_num(); i++)
        order.push_back(ov_slot_get_card(i)->slotIndex.slotId);
    EXPECT_EQ(order, (std::vector<int>{1, 3, 9, 16}));
    EXPECT_EQ(ov_slot_get_card(4), nullptr);
}

TEST_F(Slots, IndexOrderIsShelfThenSlotThenCard) {
    auto record = [](uint8_t shelf_id, uint8_t slot, uint8_t card) {
        ov_slot_info_t info{};
        info.slotIndex = {shelf_id, slot, card};
        return info;
    };
    const std::vector<ov_slot_info_t> sorted = {record(1, 1, 0), record(1, 1, 3), record(1, 2, 0),
                                                record(2, 1, 0)};
    for (size_t i = 0; i < sorted.size(); i++) {
        for (size_t j = 0; j < sorted.size(); j++) {
            const int order = ov_slot_index_cmp_func(&sorted[i], &sorted[j]);
            EXPECT_EQ((order > 0) - (order < 0), (i > j) - (i < j));
        }
    }
}

TEST_F(Slots, DeleteTakesTheRecordAndItsMarksOut) {
    ov_slot_create(3, 77, 1);
    ov_slot_create(4, 77, 1);
    for (uint32_t slot : {3u, 4u}) {
        ov_slot_set_connected(slot, 1);
        ov_slot_set_synching(slot, 1);
        ov_slot_set_synched(slot, 1);
    }
    EXPECT_EQ(ov_slot_delete(3), 0);
    EXPECT_EQ(ov_slot_lookup_by_slotid(3), nullptr);
    for (slot_bitmap_t bitmap : {shelf.slotBitsAdded, shelf.slotBitsConnected, shelf.slotBitsSynching,
                                 shelf.slotBitsSynched, g_slot_bitmap_inserted, g_slot_bitmap_connected,
                                 g_slot_bitmap_recovering, g_slot_bitmap_operational})
        EXPECT_EQ(bitmap, bits({4}));
    EXPECT_EQ(ov_slot_delete(3), -1);
    EXPECT_EQ(ov_slot_delete(99), -1);
}

// Events may come in any order: marks may be there before, or behind, the card's record.
TEST_F(Slots, DeleteWithoutARecordTakesTheMarksAllTheSame) {
    ov_slot_set_connected(3, 1);
    ov_slot_set_synching(3, 1);
    ov_slot_set_synched(3, 1);
    ASSERT_EQ(ov_slot_lookup_by_slotid(3), nullptr);
    EXPECT_EQ(ov_slot_delete(3), -1);
    const ov_shelf_info_t& shelf = g_shelf_slot_info;
    for (slot_bitmap_t bitmap :
         {shelf.slotBitsConnected, shelf.slotBitsSynching, shelf.slotBitsSynched, g_slot_bitmap_connected,
          g_slot_bitmap_recovering, g_slot_bitmap_operational})
        EXPECT_EQ(bitmap, bits({}));
    EXPECT_EQ(ov_slot_check_slot_connected(3), 0);
}

TEST_F(Slots, DeleteTellsTheClientOfTheRecord) {
    static int told = 0;
    told = 0;
    ov_slot_create(3, 77, 1)->client_info_deinit_cb = [](ov_slot_info_t* info) {
        told = info->slotIndex.slotId;
    };
    ov_slot_delete(3);
    EXPECT_EQ(told, 3);
}

// ---- marks -------------------------------------------------------------------------------------------

TEST_F(Slots, ConnectedIsSetAndClearedForAnySmartCard) {
    EXPECT_EQ(ov_slot_set_connected(16, 1), 0);
    EXPECT_TRUE(ov_slot_check_slot_connected(16));
    EXPECT_TRUE(ov_slot_check_slot_operstatus(16));
    EXPECT_FALSE(ov_slot_check_slot_connected(15));
    EXPECT_EQ(ov_slot_set_connected(16, 0), 0);
    EXPECT_FALSE(ov_slot_check_slot_connected(16));
    EXPECT_FALSE(ov_slot_check_slot_operstatus(16));
}

TEST_F(Slots, ConnectedOnAPowerSlotDoesNothing) {
    EXPECT_EQ(ov_slot_set_connected(19, 1), 0);
    EXPECT_EQ(shelf.slotBitsConnected, 0u);
    EXPECT_FALSE(ov_slot_check_slot_connected(19));
}

TEST_F(Slots, ConnectedOnAnUplinkSlotDoesNothing) {
    EXPECT_EQ(ov_slot_set_connected(17, 1), 0);
    EXPECT_EQ(shelf.slotBitsConnected, 0u);
}

TEST_F(Slots, SlotsOutsideReadAsNoAndWriteNothing) {
    for (uint32_t slot : {0u, 32u, 35u, 4294967295u}) {
        EXPECT_EQ(ov_slot_set_connected(slot, 1), 0);
        EXPECT_EQ(ov_slot_set_synching(slot, 1), 0);
        EXPECT_EQ(ov_slot_set_synched(slot, 1), 0);
        EXPECT_EQ(ov_slot_set_pwr_off(slot, 1), 0);
        EXPECT_FALSE(ov_slot_check_slot_connected(slot));
        EXPECT_FALSE(ov_slot_check_slot_operstatus(slot));
    }
    EXPECT_EQ(ov_slot_set_active_sc(35), 0);
    EXPECT_EQ(ov_slot_set_standby_sc(35), 0);
    EXPECT_EQ(shelf.slotBitsConnected | shelf.slotBitsSynching | shelf.slotBitsSynched | shelf.slotBitsPwrOff,
              0u);
    EXPECT_EQ(ov_slot_get_active_sc_slotId(), 0u);
    EXPECT_EQ(ov_slot_get_standby_sc_slotId(), 0u);
}

TEST_F(Slots, ConnectedOfTheStandbyControlCardIsLoggedAndKept) {
    ov_slot_set_standby_sc(9);
    EXPECT_EQ(shelf.standbyScAlive, 0u);
    ov_slot_set_connected(9, 1);
    EXPECT_EQ(shelf.standbyScAlive, 1u);
    EXPECT_EQ(LogTap::take(), (std::vector<LogLine>{{OV_LOG_LVL_NOTICE, "LIB",
                                                     "standby control card in slot 9 is connected"}}));
    ov_slot_set_connected(9, 0);
    EXPECT_EQ(shelf.standbyScAlive, 0u);
    EXPECT_EQ(LogTap::take(), (std::vector<LogLine>{{OV_LOG_LVL_NOTICE, "LIB",
                                                     "standby control card in slot 9 is disconnected"}}));
    ov_slot_set_connected(8, 1);
    EXPECT_EQ(shelf.standbyScAlive, 0u);
    EXPECT_TRUE(LogTap::lines().empty());
}

TEST_F(Slots, SynchingAndSynchedAreMarkedApart) {
    ov_slot_set_synching(3, 1);
    ov_slot_set_synched(4, 1);
    EXPECT_EQ(shelf.slotBitsSynching, bits({3}));
    EXPECT_EQ(g_slot_bitmap_recovering, bits({3}));
    EXPECT_EQ(shelf.slotBitsSynched, bits({4}));
    ov_slot_set_synching(3, 0);
    ov_slot_set_synched(4, 0);
    EXPECT_EQ(shelf.slotBitsSynching | shelf.slotBitsSynched | g_slot_bitmap_recovering, 0u);
}

TEST_F(Slots, PowerOffIsMarked) {
    ov_slot_set_pwr_off(31, 1);
    EXPECT_EQ(shelf.slotBitsPwrOff, 1u << 31);
    EXPECT_EQ(g_slot_bitmap_pwrlock, 1u << 31);
    ov_slot_set_pwr_off(31, 0);
    EXPECT_EQ(shelf.slotBitsPwrOff, 0u);
}

TEST_F(Slots, StatusOfARecordKeepsThePreviousState) {
    ov_slot_info_t* info = ov_slot_create(3, 77, 1);
    ov_slot_set_connected(3, 1);
    EXPECT_EQ(info->connect_status.cur_status, 1u);
    EXPECT_EQ(info->connect_status.pre_status, 0u);
    const time_t connected_at = info->connect_status.change_time;
    ov_slot_set_connected(3, 0);
    EXPECT_EQ(info->connect_status.cur_status, 0u);
    EXPECT_EQ(info->connect_status.pre_status, 1u);
    EXPECT_EQ(info->connect_status.pre_change_time, connected_at);
}

TEST_F(Slots, ActiveAndStandbyControlCardsChangePlaces) {
    ov_slot_create(8, 1, 1);
    ov_slot_create(9, 1, 1);
    ov_slot_set_active_sc(8);
    ov_slot_set_standby_sc(9);
    ov_slot_set_connected(9, 1);
    ov_slot_set_synched(9, 1);
    EXPECT_EQ(shelf.standbyScSynced, 1u);
    EXPECT_EQ(ov_slot_lookup_by_slotid(8)->sysCardActive, 1u);

    ov_slot_set_active_sc(9);
    EXPECT_EQ(ov_slot_get_active_sc_slotId(), 9u);
    EXPECT_EQ(ov_slot_get_standby_sc_slotId(), 0u);
    EXPECT_EQ(shelf.standbyScAlive, 0u);
    EXPECT_EQ(shelf.standbyScSynced, 0u);
    EXPECT_EQ(ov_slot_lookup_by_slotid(8)->sysCardActive, 0u);
    EXPECT_EQ(ov_slot_lookup_by_slotid(9)->sysCardActive, 1u);

    ov_slot_set_standby_sc(8);
    EXPECT_EQ(ov_slot_get_standby_sc_slotId(), 8u);
    EXPECT_EQ(ov_slot_get_active_sc_slotId(), 9u);
}

TEST_F(Slots, PresentBitmapIsStoredAndEachSlotThatCameOrWentIsLogged) {
    ov_slot_update_present(bits({1, 8, 30}));
    EXPECT_EQ(shelf.slotBitsPresent, bits({1, 8, 30}));
    EXPECT_EQ(LogTap::take(), (std::vector<LogLine>{{OV_LOG_LVL_NOTICE, "LIB", "slot 1 is present"},
                                                    {OV_LOG_LVL_NOTICE, "LIB", "slot 8 is present"},
                                                    {OV_LOG_LVL_NOTICE, "LIB", "slot 30 is present"}}));
    ov_slot_update_present(bits({2, 8, 30}));
    EXPECT_EQ(LogTap::take(), (std::vector<LogLine>{{OV_LOG_LVL_NOTICE, "LIB", "slot 1 is absent"},
                                                    {OV_LOG_LVL_NOTICE, "LIB", "slot 2 is present"}}));
    ov_slot_update_present(bits({2, 8, 30, 31, 0}));
    EXPECT_EQ(shelf.slotBitsPresent, bits({2, 8, 30, 31, 0}));
    EXPECT_TRUE(LogTap::take().empty()) << "slots 0 and 31 aren't the backplane's";
}

} // namespace
