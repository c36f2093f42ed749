#include "hal_slot.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "../support/log_capture.h"
#include "../support/test_shelf.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HalSlot : public testing::Test {
protected:
    explicit HalSlot(uint32_t shelf_type = OV_SHELF_TYPE_LC14) : shelf(shelf_type) {
        std::fill(std::begin(g_agent_slot_exited), std::end(g_agent_slot_exited), 0);
        LogCapture::clear();
    }
    ~HalSlot() override { std::fill(std::begin(g_agent_slot_exited), std::end(g_agent_slot_exited), 0); }

    LogCapture log;
    TestShelf shelf;
};

TEST_F(HalSlot, IsInactiveAtStart) {
    for (unsigned short slot = 1; slot <= OV_SLOT_MAX; slot++)
        EXPECT_EQ(hal_slot_active_flag_check(slot), 0u);
}

TEST_F(HalSlot, SetMarksALineCardSlotAndLogs) {
    hal_slot_active_flag_set("caller", 17, 2);
    EXPECT_EQ(hal_slot_active_flag_check(2), 1u);
    EXPECT_EQ(g_agent_slot_exited[1], 1); // indexed by slot minus 1
    EXPECT_EQ(hal_slot_active_flag_check(1), 0u);
    EXPECT_EQ(hal_slot_active_flag_check(3), 0u);
    EXPECT_THAT(log.lines(), ElementsAre("caller line 17 active slot 2 message channel."));
}

TEST_F(HalSlot, SetMarksAControlCardSlot) {
    hal_slot_active_flag_set("caller", 1, 8);
    EXPECT_EQ(hal_slot_active_flag_check(8), 1u);
}

TEST_F(HalSlot, SetOfASlotWithoutAnAgentHasNoEffect) {
    for (const unsigned short slot : {17, 19, 21, 22, 31}) { // uplink, power, fan, backplane, none
        hal_slot_active_flag_set("caller", 1, slot);
        EXPECT_EQ(hal_slot_active_flag_check(slot), 0u);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(HalSlot, ClearLogsTheTransitionAndTheChannel) {
    hal_slot_active_flag_set("caller", 1, 2);
    LogCapture::clear();
    hal_slot_active_flag_clear("other", 5, 2);
    EXPECT_EQ(hal_slot_active_flag_check(2), 0u);
    EXPECT_THAT(log.lines(),
                ElementsAre("slot 2 changes to deactive", "other line 5 deactive slot 2 message channel."));
}

TEST_F(HalSlot, ClearOfAnInactiveSlotIsNoTransition) {
    hal_slot_active_flag_clear("other", 5, 2);
    EXPECT_THAT(log.lines(), ElementsAre("other line 5 deactive slot 2 message channel."));
    ov_slot_active_flag_clear(2);
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(HalSlot, Slot0AndNumbersAbove31ReadInactiveAndCannotBeSet) {
    for (const unsigned short slot : {0, 32, 33, 0x102, 0xFFFF}) {
        hal_slot_active_flag_set("caller", 1, slot);
        hal_slot_active_flag_clear("caller", 1, slot);
        ov_slot_active_flag_clear(slot);
        EXPECT_EQ(hal_slot_active_flag_check(slot), 0u);
    }
    EXPECT_THAT(g_agent_slot_exited, Each(0));
    EXPECT_THAT(log.lines(), IsEmpty());
}

class HalSlotSingleBoard : public HalSlot {
protected:
    HalSlotSingleBoard() : HalSlot(OV_SHELF_TYPE_SINGLE) {}
};

TEST_F(HalSlotSingleBoard, SetMarksAnySlot) {
    for (const unsigned short slot : {1, 2, 31}) {
        hal_slot_active_flag_set("caller", 1, slot);
        EXPECT_EQ(hal_slot_active_flag_check(slot), 1u);
    }
}

} // namespace
