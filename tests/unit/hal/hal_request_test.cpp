// Requests whose replies the loop takes as they come.
#include "hal_request.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>

#include "../support/hal_chassis.h"
#include "../support/test_clock.h"
#include "hal_outbox.h"
#include "ov_types.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {

constexpr uint16_t TYPE = 925;

// What became of requests, in the order in which they ended.
struct Ended {
    uint8_t asked; // first byte of the payload
    unsigned result;
    int answered; // first byte of the reply's payload; -1 without a reply
};
struct Asker;
struct Context {
    Asker* asker;
    uint8_t asked;
};
struct Asker {
    std::vector<Ended> ended;
    std::deque<Context> contexts;

    HalRequest ask(uint32_t slot, uint8_t first) {
        const hal_msg_t message = test_message(TYPE, slot, 24, first);
        contexts.push_back({this, first});
        return hal_request(&message.hdr, take, &contexts.back());
    }
    std::vector<int> asked() const {
        std::vector<int> all;
        for (const Ended& each : ended)
            all.push_back(each.asked);
        return all;
    }
    bool wait_for(size_t count) {
        return loop_until([&] { return ended.size() >= count; });
    }

    static void take(void* context, unsigned result, const hal_nlmsghdr* reply) {
        const Context& asked = *static_cast<Context*>(context);
        const int answered = reply ? reinterpret_cast<const uint8_t*>(reply)[sizeof *reply] : -1;
        asked.asker->ended.push_back({asked.asked, result, answered});
    }
};

uint8_t asked_of(const wire::Bytes& request) {
    return request[wire::PAYLOAD];
}

TEST(HalRequest, TheReplyComesByTheLoopAndNotBefore) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3, [](FakeCard& self, const wire::Bytes& request) {
            wire::Bytes reply = self.reply_to(request, 0);
            reply[wire::PAYLOAD] = 77;
            self.answer(request, reply);
        });
        HalChassis::activate(3);
        Asker asker;
        ASSERT_EQ(asker.ask(3, 5), HalRequest::SENT);
        card.wait_for(1);
        EXPECT_THAT(asker.ended, IsEmpty());
        EXPECT_EQ(hal_requests_under_way(), 1u);
        ASSERT_TRUE(asker.wait_for(1));
        EXPECT_EQ(asker.ended[0].result, 0u);
        EXPECT_EQ(asker.ended[0].answered, 77);
        EXPECT_EQ(hal_requests_under_way(), 0u);
        const wire::Bytes seen = card.seen()[0];
        EXPECT_EQ(wire::get32(seen, 8), 1u); // a request of the named IPC
        EXPECT_EQ(wire::get32(seen, wire::FRAME), 1u);
        EXPECT_EQ(wire::get16(seen, wire::NL + 4), TYPE);
        EXPECT_EQ(wire::get32(seen, wire::NL + 12), 1001u);
        EXPECT_EQ(wire::get32(seen, 12), 101u); // the name that agents know
        EXPECT_EQ(wire::get32(seen, 16), 11100u + HalChassis::OWN_SLOT);
    });
}

// A card that keeps what it is asked until it has so many, and then answers in its own order.
FakeCard::Behaviour answering(size_t at, std::function<void(FakeCard&, std::vector<wire::Bytes>&)> answer) {
    auto kept = std::make_shared<std::vector<wire::Bytes>>();
    return [=](FakeCard& self, const wire::Bytes& request) {
        kept->push_back(request);
        if (kept->size() == at)
            answer(self, *kept);
    };
}

TEST(HalRequest, RepliesFindTheirRequestsInAnyOrder) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3, answering(5, [](FakeCard& self, std::vector<wire::Bytes>& kept) {
                                std::reverse(kept.begin(), kept.end());
                                for (const wire::Bytes& request : kept)
                                    self.reply(request, 0);
                            }));
        HalChassis::activate(3);
        Asker asker;
        for (uint8_t n = 1; n <= 5; ++n)
            ASSERT_EQ(asker.ask(3, n), HalRequest::SENT);
        ASSERT_TRUE(asker.wait_for(5));
        EXPECT_THAT(asker.asked(), ElementsAre(5, 4, 3, 2, 1));
        for (const Ended& each : asker.ended)
            EXPECT_EQ(each.answered, each.asked);
    });
}

TEST(HalRequest, AReplyThatComesTwiceCountsOnce) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3, [](FakeCard& self, const wire::Bytes& request) {
            self.reply(request, 0);
            self.reply(request, 0);
        });
        HalChassis::activate(3);
        Asker asker;
        for (uint8_t n = 1; n <= 3; ++n)
            ASSERT_EQ(asker.ask(3, n), HalRequest::SENT);
        ASSERT_TRUE(asker.wait_for(3));
        loop_until([n = 0]() mutable { return ++n > 20; });
        EXPECT_THAT(asker.ended, SizeIs(3));
    });
}

TEST(HalRequest, ReturnCodesAreThoseOfASend) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3, [](FakeCard& self, const wire::Bytes& request) {
            self.reply(request, asked_of(request) == 1 ? 1008 : 1009);
        });
        HalChassis::activate(3);
        Asker asker;
        ASSERT_EQ(asker.ask(3, 1), HalRequest::SENT);
        ASSERT_EQ(asker.ask(3, 2), HalRequest::SENT);
        ASSERT_TRUE(asker.wait_for(2));
        EXPECT_EQ(asker.ended[0].result, unsigned{OV_GPON_RET_NOT_SUPPORT});
        EXPECT_EQ(asker.ended[1].result, unsigned{KAVO_ERR});
        EXPECT_EQ(asker.ended[1].answered, 2); // it did answer
    });
}

TEST(HalRequest, AnAnswerThatCannotBeOneFailsTheRequest) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3, [](FakeCard& self, const wire::Bytes& request) {
            wire::Bytes reply = self.reply_to(request, 0);
            if (asked_of(request) == 1)
                reply.resize(wire::IPC + 20); // no head of a frame
            else
                wire::put32(reply, wire::FRAME + 20, 2000); // longer than the request
            self.answer(request, reply);
        });
        HalChassis::activate(3);
        Asker asker;
        ASSERT_EQ(asker.ask(3, 1), HalRequest::SENT);
        ASSERT_EQ(asker.ask(3, 2), HalRequest::SENT);
        ASSERT_TRUE(asker.wait_for(2));
        for (const Ended& each : asker.ended) {
            EXPECT_EQ(each.result, unsigned{KAVO_ERR});
            EXPECT_EQ(each.answered, each.asked); // nothing of it came in
        }
    });
}

TEST(HalRequest, ASilentCardCostsTwelveSecondsAndALateReplyNothing) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3, FakeCard::be_silent);
        HalChassis::activate(3);
        TestClock clock;
        Asker asker;
        ASSERT_EQ(asker.ask(3, 1), HalRequest::SENT);
        clock.advance(11900ms);
        EXPECT_THAT(asker.ended, IsEmpty());
        clock.advance(300ms);
        ASSERT_THAT(asker.ended, SizeIs(1));
        EXPECT_EQ(asker.ended[0].result, unsigned{KAVO_ERR});
        EXPECT_EQ(asker.ended[0].answered, -1);
        card.reply(card.wait_for(1)[0], 0);
        loop_until([n = 0]() mutable { return ++n > 20; });
        EXPECT_THAT(asker.ended, SizeIs(1));
    });
}

TEST(HalRequest, AReplyThatHasComeCountsHoweverLateTheLoopLooks) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3);
        HalChassis::activate(3);
        TestClock clock;
        Asker asker;
        ASSERT_EQ(asker.ask(3, 1), HalRequest::SENT);
        card.wait_for(1);
        std::this_thread::sleep_for(20ms); // the answer is on its way
        clock.advance(13s);
        ASSERT_THAT(asker.ended, SizeIs(1));
        EXPECT_EQ(asker.ended[0].result, 0u);
    });
}

TEST(HalRequest, ACardThatGoesFailsWhatItWasAsked) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard silent(3, FakeCard::be_silent);
        const FakeCard other(4, FakeCard::be_silent);
        HalChassis::activate(3);
        HalChassis::activate(4);
        TestClock clock;
        Asker asker;
        ASSERT_EQ(asker.ask(3, 1), HalRequest::SENT);
        ASSERT_EQ(asker.ask(4, 2), HalRequest::SENT);
        hal_slot_active_flag_clear("test", 0, 3);
        clock.advance(200ms);
        EXPECT_THAT(asker.asked(), ElementsAre(1));
        EXPECT_EQ(asker.ask(3, 3), HalRequest::FAILED);
    });
}

TEST(HalRequest, NobodyToAskFailsAtOnce) {
    hal_chassis::run([](HalChassis&) {
        Asker asker;
        EXPECT_EQ(asker.ask(3, 1), HalRequest::FAILED);  // not active
        EXPECT_EQ(asker.ask(0, 1), HalRequest::FAILED);  // every card isn't one
        EXPECT_EQ(asker.ask(99, 1), HalRequest::FAILED); // no slot
        HalChassis::activate(3);
        EXPECT_EQ(asker.ask(3, 1), HalRequest::FAILED); // nobody has the name
        EXPECT_EQ(hal_request(nullptr, Asker::take, nullptr), HalRequest::FAILED);
        EXPECT_EQ(hal_requests_under_way(), 0u);
    });
}

TEST(HalRequest, WhatWaitsForTheCardGoesFirst) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        card.stop_reading(true);
        HalChassis::activate(3);
        hal_msg_t message = test_message(TYPE, 3, 24, 200);
        while (hal_outbox_messages(3) == 0)
            hal_send_async(&message.hdr);
        Asker asker;
        EXPECT_EQ(asker.ask(3, 1), HalRequest::NO_ROOM);
        card.stop_reading(false);
        ASSERT_TRUE(loop_until([&] { return asker.ask(3, 1) == HalRequest::SENT; }));
        ASSERT_TRUE(asker.wait_for(1));
        EXPECT_EQ(asked_of(card.seen().back()), 1);
        EXPECT_EQ(hal_outbox_messages(3), 0u);
    });
}

TEST(HalRequest, ACardWithoutRoomGetsAllInTheEnd) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        card.stop_reading(true);
        HalChassis::activate(3);
        Asker asker;
        unsigned sent = 0;
        while (sent < 200 && asker.ask(3, uint8_t(sent)) == HalRequest::SENT)
            ++sent;
        card.stop_reading(false);
        ASSERT_TRUE(asker.wait_for(sent));
        for (const Ended& each : asker.ended)
            EXPECT_EQ(each.result, 0u);
    });
}

TEST(HalRequest, ASendThatWaitsMeanwhileGetsItsOwnReply) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3);
        HalChassis::activate(3);
        Asker asker;
        for (uint8_t n = 1; n <= 3; ++n)
            ASSERT_EQ(asker.ask(3, n), HalRequest::SENT);
        hal_msg_t message = test_message(TYPE, 3, 24, 50);
        EXPECT_EQ(hal_send(&message.hdr), 0u);
        EXPECT_EQ(message.buf[0], 50);
        EXPECT_THAT(asker.ended, IsEmpty());
        ASSERT_TRUE(asker.wait_for(3));
        EXPECT_THAT(asker.asked(), ElementsAre(1, 2, 3));
    });
}

TEST(HalRequest, WhileTheBoardRecoversNothingGoesOut) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3);
        HalChassis::activate(3);
        HalChassis::recover(true);
        Asker asker;
        ASSERT_EQ(asker.ask(3, 9), HalRequest::SENT);
        EXPECT_THAT(asker.ended, IsEmpty());
        ASSERT_TRUE(asker.wait_for(1));
        EXPECT_EQ(asker.ended[0].result, 0u);
        EXPECT_EQ(asker.ended[0].answered, 9);
        EXPECT_EQ(card.count(), 0u);
    });
}

TEST(HalRequest, AHandlerMayAskOn) {
    hal_chassis::run([](HalChassis&) {
        const FakeCard card(3);
        HalChassis::activate(3);
        static int left;
        left = 50;
        struct On {
            static void take(void* /*context*/, unsigned result, const hal_nlmsghdr* /*reply*/) {
                EXPECT_EQ(result, 0u);
                const hal_msg_t message = test_message(TYPE, 3, 24);
                if (--left > 0) {
                    ASSERT_EQ(hal_request(&message.hdr, take, nullptr), HalRequest::SENT);
                }
            }
        };
        const hal_msg_t message = test_message(TYPE, 3, 24);
        ASSERT_EQ(hal_request(&message.hdr, On::take, nullptr), HalRequest::SENT);
        ASSERT_TRUE(loop_until([] { return left == 0; }));
        EXPECT_EQ(hal_requests_under_way(), 0u);
    });
}

} // namespace
