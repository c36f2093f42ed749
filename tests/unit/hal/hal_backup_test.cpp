// Mirroring to the standby control card.
#include "hal_backup.h"

#include <gmock/gmock.h>

#include "../support/hal_chassis.h"

using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr uint32_t MATE = 9;

void be(const char* active) {
    HalChassis::set("active", active);
    HalChassis::set("mate_slot", std::to_string(MATE));
    EXPECT_EQ(init_hal_backup(), 0);
}

bool proceeds(uint32_t slot) {
    const hal_msg_t msg = test_message(908, slot, 4);
    return need_to_proceed(&msg.hdr);
}

TEST(HalBackup, ActiveBoardIsMainAndItsMateTheBackup) {
    hal_chassis::run([](HalChassis& chassis) {
        be("1");
        EXPECT_EQ(g_main_slot_id, 8);
        EXPECT_EQ(g_backup_slot_id, 9);
        EXPECT_THAT(chassis.log.lines(), Contains("g_self_slot: 8, g_main_slot_id: 8, g_backup_slot_id: 9"));
        EXPECT_TRUE(proceeds(8));
        EXPECT_TRUE(proceeds(0));
        EXPECT_FALSE(proceeds(3));
        EXPECT_FALSE(proceeds(9));
    });
}

TEST(HalBackup, OnTheStandbyBoardNothingIsMirrored) {
    hal_chassis::run([](HalChassis&) {
        be("0");
        EXPECT_EQ(g_main_slot_id, 9);
        EXPECT_EQ(g_backup_slot_id, 8);
        for (const uint32_t slot : {0u, 3u, 8u, 9u})
            EXPECT_FALSE(proceeds(slot));
    });
}

TEST(HalBackup, WithoutAMateNothingIsMirrored) {
    hal_chassis::run([](HalChassis&) {
        HalChassis::set("active", "1");
        init_hal_backup();
        EXPECT_EQ(g_backup_slot_id, 0);
        EXPECT_FALSE(proceeds(8));
        EXPECT_FALSE(proceeds(0));
    });
}

TEST(HalBackup, SystemWithoutStandbyControlCardsDoesNothing) {
    private_root::run([] {
        HalChassis chassis(OV_SHELF_TYPE_SINGLE, 1);
        be("1");
        EXPECT_EQ(g_self_slot, 0);
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
        EXPECT_FALSE(proceeds(1));
        EXPECT_FALSE(proceeds(0));
    });
}

TEST(HalBackup, WhatWentToTheMainSlotGoesToTheStandbyOnceMoreWithoutReply) {
    hal_chassis::run([](HalChassis&) {
        FakeCard main(8, [](FakeCard& c, const wire::Bytes& request) {
            wire::Bytes b = c.reply_to(request, 0);
            b[wire::PAYLOAD] = 0xEE; // the reply is not what is mirrored
            c.answer(request, b);
        });
        FakeCard mate(MATE);
        HalChassis::activate(8);
        HalChassis::activate(MATE);
        be("1");
        hal_msg_t msg = test_message(908, 8, 20, 0x10);
        ASSERT_EQ(hal_send(&msg.hdr), 0u);
        ASSERT_THAT(mate.wait_for(1), SizeIs(1));
        EXPECT_EQ(wire::get32(mate.seen()[0], 8), 0u); // one-way
        EXPECT_EQ(wire::get32(mate.seen()[0], wire::FRAME), 2u);
        EXPECT_EQ(mate.seen()[0][wire::PAYLOAD], 0x10);
        msg = test_message(908, 8, 20);
        ASSERT_EQ(hal_send_async(&msg.hdr), 0u);
        EXPECT_THAT(mate.wait_for(2), SizeIs(2));
        EXPECT_THAT(main.wait_for(2), SizeIs(2));
    });
}

TEST(HalBackup, BroadcastReachesTheStandbyTwice) {
    hal_chassis::run([](HalChassis&) {
        FakeCard mate(MATE);
        HalChassis::activate(MATE);
        be("1");
        hal_msg_t msg = test_message(908, 0, 20);
        ASSERT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_THAT(mate.wait_for(2), SizeIs(2));
    });
}

TEST(HalBackup, RefusedMessageAndOneToAnotherSlotAreNotMirrored) {
    hal_chassis::run([](HalChassis&) {
        FakeCard main(8, [](FakeCard& c, const wire::Bytes& request) { c.reply(request, 1003); });
        FakeCard line_card(3);
        FakeCard mate(MATE);
        for (const unsigned short slot : {3, 8, 9})
            HalChassis::activate(slot);
        be("1");
        hal_msg_t msg = test_message(908, 8, 20);
        EXPECT_NE(hal_send(&msg.hdr), 0u);
        msg = test_message(908, 3, 20);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_THAT(mate.seen(), IsEmpty());
    });
}

} // namespace
