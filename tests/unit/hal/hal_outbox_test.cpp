// Cards that don't keep up, or don't read at all, over the carrier of carrier.h.
#include "hal_outbox.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <memory>

#include "../support/hal_chassis.h"
#include "hal_sock.h"
#include "ov_types.h"

using std::chrono::steady_clock;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using wire::Bytes;

namespace {

constexpr uint16_t TYPE = 908;

// A one-way message that carries a number.
void post(uint32_t slot, uint32_t number, uint32_t payload = 8) {
    hal_msg_t msg = test_message(TYPE, slot, payload);
    for (int n = 0; n < 4; n++)
        msg.buf[n] = uint8_t(number >> (24 - 8 * n));
    ASSERT_EQ(hal_send_async(&msg.hdr), 0u);
}

void post_all(uint32_t slot, uint32_t count) {
    for (uint32_t n = 0; n < count; n++)
        post(slot, n);
}

std::vector<uint32_t> numbers(const std::vector<Bytes>& seen) {
    std::vector<uint32_t> found;
    for (const Bytes& frame : seen)
        found.push_back(wire::get32(frame, wire::PAYLOAD));
    return found;
}

std::vector<uint32_t> up_to(uint32_t count) {
    std::vector<uint32_t> all(count);
    for (uint32_t n = 0; n < count; n++)
        all[n] = n;
    return all;
}

TEST(HalOutbox, ACardThatDoesNotReadHoldsNobodyAndLosesNothing) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard hangs(3);
        FakeCard reads(4);
        for (const unsigned short slot : {3, 4})
            HalChassis::activate(slot);
        LogCapture::clear();
        hangs.stop_reading(true);
        constexpr uint32_t COUNT = 3000;
        const auto began = steady_clock::now();
        post_all(3, COUNT);
        EXPECT_LT(steady_clock::now() - began, std::chrono::seconds(30)); // a moment each is too much
        EXPECT_GT(hal_outbox_messages(3), COUNT - 200);
        EXPECT_LT(hal_outbox_messages(3), COUNT);
        hal_msg_t question = test_message(TYPE, 4, 8);
        EXPECT_EQ(hal_send(&question.hdr), 0u); // another card is served meanwhile
        EXPECT_THAT(reads.seen(), SizeIs(1));
        hangs.stop_reading(false);
        ASSERT_TRUE(loop_until([&] { return hangs.count() == COUNT; }));
        EXPECT_EQ(numbers(hangs.seen()), up_to(COUNT));
        EXPECT_EQ(hal_outbox_messages(3), 0u);
        EXPECT_EQ(hal_outbox_bytes(3), 0u);
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
    });
}

TEST(HalOutbox, TheLoopSleepsWhileACardDoesNotRead) {
    hal_chassis::run([](HalChassis&) {
        FakeCard hangs(3);
        HalChassis::activate(3);
        hangs.stop_reading(true);
        post_all(3, 500);
        bool over = false;
        thread_add_timer_msec(
            frr_master(), [](struct thread* t) { *static_cast<bool*>(THREAD_ARG(t)) = true; }, &over, 300,
            nullptr);
        int events = 0;
        struct thread event;
        for (; !over && thread_fetch(frr_master(), &event); ++events)
            thread_call(&event);
        EXPECT_LT(events, 20);
        EXPECT_GT(hal_outbox_messages(3), 0u);
    });
}

constexpr uint32_t RESTORE = 60000; // messages

// Runs the loop until a card has so many, for as long as more come.
bool arrive(const FakeCard& card, size_t count) {
    for (size_t before = card.count();; before = card.count()) {
        if (loop_until([&] { return card.count() >= count; }))
            return true;
        if (card.count() == before)
            return false;
    }
}

TEST(HalOutbox, AFullRestoreArrivesWholeAndInOrderAtACardThatReadsSlowly) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard card(3);
        card.rest_after(50);
        HalChassis::activate(3);
        LogCapture::clear();
        post_all(3, RESTORE);
        EXPECT_GT(hal_outbox_messages(3), 0u);
        ASSERT_TRUE(arrive(card, RESTORE));
        EXPECT_TRUE(numbers(card.seen()) == up_to(RESTORE));
        EXPECT_THAT(chassis.log.lines(), Not(Contains(HasSubstr("fail"))));
    });
}

// Prints the rate, which ./test --vm compares between the carriers.
TEST(HalOutbox, AFullRestoreArrivesWholeAndInOrderAtACardThatReadsAsFastAsItCan) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        card.widen();
        HalChassis::activate(3);
        const auto began = steady_clock::now();
        post_all(3, RESTORE);
        ASSERT_TRUE(arrive(card, RESTORE));
        const std::chrono::duration<double> took = steady_clock::now() - began;
        EXPECT_TRUE(numbers(card.seen()) == up_to(RESTORE));
        printf("figure: %.0f messages a second over %s\n", RESTORE / took.count(), carrier::name());
    });
}

TEST(HalOutbox, AMessageThatFollowsGoesBehindWhatWaits) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        card.stop_reading(true);
        post_all(3, 100);
        card.stop_reading(false);
        ASSERT_THAT(card.wait_for(5), Not(IsEmpty())); // there is room, but the loop hasn't come round
        post(3, 100);
        ASSERT_TRUE(loop_until([&] { return card.count() == 101; }));
        EXPECT_EQ(numbers(card.seen()), up_to(101));
    });
}

TEST(HalOutbox, ARequestGoesBehindWhatWaitsForItsCard) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        card.stop_reading(true);
        post_all(3, 500);
        card.stop_reading(false);
        hal_msg_t request = test_message(909, 3, 8);
        EXPECT_EQ(hal_send(&request.hdr), 0u); // and no loop has run
        const std::vector<Bytes> seen = card.seen();
        ASSERT_THAT(seen, SizeIs(501));
        EXPECT_EQ(wire::get16(seen.back(), wire::NL + 4), 909);
        EXPECT_EQ(wire::get32(seen.back(), 8), 1u);
        EXPECT_EQ(numbers({seen.begin(), seen.end() - 1}), up_to(500));
    });
}

TEST(HalOutbox, ARequestToACardThatDoesNotReadCostsItsTimeoutAndLeavesWhatWaits) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard hangs(3);
        HalChassis::activate(3);
        hangs.stop_reading(true);
        post_all(3, 500);
        HalChassis::wait_for_answers(1);
        LogCapture::clear();
        const auto began = steady_clock::now();
        hal_msg_t request = test_message(909, 3, 8);
        EXPECT_EQ(hal_send(&request.hdr), KAVO_ERR);
        const std::chrono::duration<double> took = steady_clock::now() - began;
        EXPECT_GE(took.count(), 0.9);
        EXPECT_LT(took.count(), 60); // and not for ever
        EXPECT_THAT(
            chassis.log.lines(),
            Contains("Send sync message Num[1] nhtype[909] length [24] to [10103] fail. TIPC return code: "
                     "-6:IPC_RC_TIMEOUT. Total failed count 1"));
        hangs.stop_reading(false);
        ASSERT_TRUE(loop_until([&] { return hangs.count() == 500; }));
        EXPECT_EQ(numbers(hangs.seen()), up_to(500));
    });
}

// Its socket is full, and nothing of ours waits.
TEST(HalOutbox, ARequestToAFullCardIsSentWhenThereIsRoom) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        card.stop_reading(true);
        uint32_t sent = 0;
        while (hal_outbox_messages(3) == 0)
            post(3, sent++);
        hal_outbox_clear(3); // what is left is the card's socket, to the brim
        std::thread later([&card] { card.stop_reading(false); });
        hal_msg_t request = test_message(909, 3, 8);
        EXPECT_EQ(hal_send(&request.hdr), 0u);
        later.join();
        EXPECT_THAT(card.seen(), SizeIs(sent)); // all but the one that was dropped, and the request
    });
}

TEST(HalOutbox, WhatWaitsIsDroppedWhenTheSlotGoesInactive) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard card(3);
        HalChassis::activate(3);
        card.stop_reading(true);
        post_all(3, 500);
        const size_t waiting = hal_outbox_messages(3);
        hal_slot_active_flag_clear("test", 0, 3);
        EXPECT_EQ(hal_outbox_messages(3), 0u);
        EXPECT_EQ(hal_outbox_bytes(3), 0u);
        EXPECT_THAT(chassis.log.lines(), Contains("slot 3: " + std::to_string(waiting) +
                                                  " messages that waited for the card are dropped"));
        HalChassis::activate(3);
        post(3, 7777);
        card.stop_reading(false);
        ASSERT_TRUE(loop_until([&] { return card.count() == 500 - waiting + 1; }));
        EXPECT_EQ(numbers(card.seen()).back(), 7777u);
    });
}

TEST(HalOutbox, BeyondItsBoundAMessageIsDroppedWithALine) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard card(3);
        HalChassis::activate(3);
        card.stop_reading(true);
        LogCapture::clear();
        constexpr uint32_t LONG = 1996;
        constexpr size_t COST = sizeof(PKTMSG_HDR_T) + 16 + LONG + HAL_OUTBOX_ENTRY;
        uint32_t sent = 0;
        while (chassis.log.lines().empty() && sent < 2 * HAL_OUTBOX_MAX / COST)
            post(3, sent++, LONG);
        EXPECT_EQ(hal_outbox_messages(3), HAL_OUTBOX_MAX / COST);
        EXPECT_LE(hal_outbox_bytes(3), HAL_OUTBOX_MAX);
        const std::string last = std::to_string(sent);
        EXPECT_THAT(chassis.log.lines(), Each("Send async message Num[" + last +
                                              "] nhtype[908] length [2012] to [10103] fail. TIPC return " +
                                              "code: -3:IPC_RC_SND_BUFF_FULL. Total failed count 1"));
        EXPECT_THAT(chassis.log.lines(), SizeIs(1));
        hal_outbox_clear(3);
        for (uint32_t n = 0; n < 5; n++) // the card may have been at its last message when it stopped
            post(3, n, LONG);
        EXPECT_GE(hal_outbox_messages(3), 1u);
    });
}

TEST(HalOutbox, AnAgentThatBindsItsNameAMomentLaterGetsTheMessage) {
    hal_chassis::run([](HalChassis& chassis) {
        HalChassis::activate(3);
        LogCapture::clear();
        post_all(3, 3); // to nobody
        FakeCard card(3);
        ASSERT_TRUE(loop_until([&] { return card.count() == 3; }));
        EXPECT_EQ(numbers(card.seen()), up_to(3));
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
    });
}

TEST(HalOutbox, WhatWaitsForAnAgentThatDiesIsDroppedWithItsLinesAndItsSuccessorIsServed) {
    hal_chassis::run([](HalChassis& chassis) {
        auto card = std::make_unique<FakeCard>(3);
        HalChassis::activate(3);
        card->stop_reading(true);
        post_all(3, 300);
        const size_t waiting = hal_outbox_messages(3);
        LogCapture::clear();
        card.reset();
        ASSERT_TRUE(loop_until([] { return hal_outbox_messages(3) == 0; }));
        if (carrier::is_tipc()) // which brings back what the agent left unread, too
            EXPECT_THAT(chassis.log.lines(), SizeIs(testing::Ge(waiting)));
        else
            EXPECT_THAT(chassis.log.lines(), SizeIs(waiting));
        EXPECT_THAT(chassis.log.lines(), Each(HasSubstr("-4:IPC_RC_MSG_RTRNED")));
        hal_msg_t request = test_message(TYPE, 3, 8);
        EXPECT_EQ(hal_send(&request.hdr), KAVO_ERR); // at once, as without an outbox
        FakeCard successor(3);
        post(3, 1);
        ASSERT_TRUE(loop_until([&] { return successor.count() == 1; }));
    });
}

TEST(HalOutbox, WithoutALoopWhatWaitsGoesOutWithTheNextMessage) {
    hal_chassis::run([](HalChassis&) {
        hal_outbox_init(nullptr);
        FakeCard card(3);
        HalChassis::activate(3);
        card.stop_reading(true);
        post_all(3, 40);
        card.stop_reading(false);
        for (uint32_t sent = 40; hal_outbox_messages(3) > 0; sent++) {
            EXPECT_GT(card.count(), 0u); // it has read what its socket held: there is room again
            post(3, sent);
        }
        EXPECT_EQ(hal_outbox_drain(3, steady_clock::now()), 0);
        const auto seen = numbers(card.wait_for(40));
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    });
}

} // namespace
