// Synchronous and one-way sends, against cards that behave and cards that don't.
#include "hal_sock.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "../support/hal_chassis.h"
#include "../support/log_capture.h"
#include "../support/on_loop.h"
#include "hal_debug.h"
#include "hal_outbox.h"
#include "ipcImpl.h"
#include "ov_refusal.h"
#include "ov_types.h"

using testing::Contains;
using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using wire::Bytes;

namespace {

constexpr uint16_t TYPE = 908;

bool same_bytes(const hal_msg_t& a, const hal_msg_t& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Sends a message of 100 bytes to card 3, which answers so.
unsigned send_to_card_that(const FakeCard::Behaviour& behaves, hal_msg_t* buffer = nullptr) {
    FakeCard card(3, behaves);
    HalChassis::activate(3);
    hal_msg_t msg = test_message(TYPE, 3, 84);
    const unsigned result = hal_send(&msg.hdr);
    if (buffer)
        *buffer = msg;
    return result;
}

TEST(HalSend, BelongsToTheLoop) {
    const AnyThread watched;
    const auto send = [] {
        hal_msg_t nothing = {};
        EXPECT_EQ(hal_send(&nothing.hdr), unsigned{KAVO_PARAM});
        EXPECT_EQ(hal_send_async(&nothing.hdr), unsigned{KAVO_PARAM});
    };
    send();
    EXPECT_EQ(watched.intruders(), 0);
    std::thread(send).join();
    EXPECT_EQ(watched.intruders(), 2);
}

TEST(HalSend, RequestOnTheWireIsHeaderFrameAndMessage) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        hal_msg_t msg = test_message(TYPE, 3, 20, 0xA0);
        msg.hdr.nlmsg_flags = 0x0102;
        ASSERT_EQ(hal_send(&msg.hdr), 0u);
        const std::vector<Bytes> seen = card.wait_for(1);
        ASSERT_THAT(seen, SizeIs(1));
        const Bytes& b = seen[0];
        ASSERT_THAT(b, SizeIs(28 + 36 + 36));
        EXPECT_EQ(wire::get32(b, 0), 0xface01bcu);
        EXPECT_EQ(wire::get32(b, 8), 1u);          // request
        EXPECT_EQ(wire::get32(b, 12), 101u);       // sent under the agents' service ...
        EXPECT_EQ(wire::get32(b, 16), 11100u + 8); // ... and this board's name
        const uint32_t frame[] = {1, 0, TYPE, 1, 0, 36 + 36, 0, 0, 0};
        for (size_t n = 0; n < 9; n++)
            EXPECT_EQ(wire::get32(b, wire::FRAME + 4 * n), frame[n]) << n;
        EXPECT_EQ(wire::get32(b, wire::NL), 36u);
        EXPECT_EQ(wire::get16(b, wire::NL + 4), TYPE);
        EXPECT_EQ(wire::get16(b, wire::NL + 6), 0x0102u);
        EXPECT_EQ(wire::get32(b, wire::NL + 8), 0u);
        EXPECT_EQ(wire::get32(b, wire::NL + 12), 1001u); // the client, not the slot
        for (size_t n = 0; n < 20; n++)
            EXPECT_EQ(b[wire::PAYLOAD + n], 0xA0 + n);
    });
}

TEST(HalSend, ReplyOverwritesTheMessageAndTheSlotIsRestored) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3, [](FakeCard& c, const Bytes& request) {
            Bytes b = c.reply_to(request, 0);
            b[wire::PAYLOAD] = 0x5A;
            c.answer(request, b);
        });
        HalChassis::activate(3);
        hal_msg_t msg = test_message(TYPE, 3, 20);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_EQ(msg.buf[0], 0x5A);
        EXPECT_EQ(msg.buf[1], 1);
        EXPECT_EQ(msg.hdr.nlmsg_pid, 3u);
    });
}

TEST(HalSend, OneWayMessageOnTheWireHasTopic2AndNoReplyIsAwaited) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3, FakeCard::be_silent);
        HalChassis::activate(3);
        const hal_msg_t before = test_message(TYPE, 3, 20);
        hal_msg_t msg = before;
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        EXPECT_TRUE(same_bytes(msg, before));
        const std::vector<Bytes> seen = card.wait_for(1);
        ASSERT_THAT(seen, SizeIs(1));
        EXPECT_EQ(wire::get32(seen[0], 8), 0u); // one-way
        const uint32_t frame[] = {2, 0, TYPE, 1, 0, 36 + 36, 0, 0, 0};
        for (size_t n = 0; n < 9; n++)
            EXPECT_EQ(wire::get32(seen[0], wire::FRAME + 4 * n), frame[n]) << n;
        EXPECT_EQ(wire::get32(seen[0], wire::NL + 12), 1001u);
    });
}

TEST(HalSend, BroadcastWithNoActiveCardReturns0AndLeavesTheBuffer) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard card(3);
        const hal_msg_t before = test_message(TYPE, 0, 100);
        hal_msg_t msg = before;
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_TRUE(same_bytes(msg, before));
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        EXPECT_THAT(card.seen(), IsEmpty());
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
    });
}

TEST(HalSend, MessageToAnInactiveSlotReturns0AndIsNotSent) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        const hal_msg_t before = test_message(TYPE, 3, 100);
        hal_msg_t msg = before;
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        EXPECT_TRUE(same_bytes(msg, before));
        EXPECT_THAT(card.seen(), IsEmpty());
    });
}

TEST(HalSend, LengthOf2064PassesAnd2065IsTooBig) {
    hal_chassis::run([](HalChassis& chassis) {
        hal_msg_t msg = test_message(TYPE, 3, HAL_PAYLOAD_MAX);
        ASSERT_EQ(msg.hdr.nlmsg_len, 2064u);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        msg.hdr.nlmsg_len = 2065;
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_MEMORY);
        EXPECT_EQ(hal_send_async(&msg.hdr), KAVO_MEMORY);
        EXPECT_THAT(chassis.log.lines(), ElementsAre("Message is too big", "Message is too big"));
    });
}

TEST(HalSend, MessageTooLongForTheIpcFailsWhenItIsReallySent) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        hal_msg_t msg = test_message(TYPE, 3, 2012 - 16);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        msg = test_message(TYPE, 3, 2013 - 16);
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_ERR);
        EXPECT_THAT(card.seen(), SizeIs(1));
    });
}

TEST(HalSend, NullAndAMessageShorterThanItsHeadAreRefused) {
    hal_chassis::run([](HalChassis&) {
        hal_msg_t msg = test_message(TYPE, 3, 0);
        msg.hdr.nlmsg_len = 15;
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_PARAM);
        EXPECT_EQ(hal_send_async(&msg.hdr), KAVO_PARAM);
        EXPECT_EQ(hal_send(nullptr), KAVO_PARAM);
    });
}

TEST(HalSend, WhileRecoveringNothingGoesOutAndEverySendSucceeds) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        HalChassis::recover(true);
        hal_msg_t msg = test_message(TYPE, 3, 20);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        msg.hdr.nlmsg_pid = 0;
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_THAT(card.seen(), IsEmpty());
        HalChassis::recover(false);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_THAT(card.seen(), SizeIs(1));
    });
}

TEST(HalSend, SlotAboveTheHighestIsRefused) {
    hal_chassis::run([](HalChassis& chassis) {
        hal_msg_t msg = test_message(TYPE, 31, 20);
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_ERR);
        EXPECT_EQ(hal_send_async(&msg.hdr), KAVO_ERR);
        EXPECT_THAT(chassis.log.lines(), ElementsAre("message nhtype[908] have bad slot_id 31",
                                                     "message nhtype[908] have bad slot_id 31"));
    });
}

TEST(HalSend, WithoutAControlBlockEverySendFails) {
    hal_chassis::run_closed([](HalChassis& chassis) {
        hal_msg_t msg = test_message(TYPE, 3, 20);
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_ERR);
        EXPECT_EQ(hal_send_async(&msg.hdr), KAVO_ERR);
        EXPECT_THAT(chassis.log.lines(), ElementsAre("g_agent_msg_tx_cb is not initialed, msg type=908",
                                                     "g_agent_msg_tx_cb is not initialed"));
    });
}

TEST(HalSend, ReplyLongerThanTheRequestIsRefused) {
    hal_chassis::run([](HalChassis& chassis) {
        hal_msg_t msg;
        EXPECT_EQ(send_to_card_that(
                      [](FakeCard& c, const Bytes& request) {
                          Bytes b = c.reply_to(request, 0);
                          b.resize(b.size() + 1, 0xEE);
                          wire::put32(b, wire::FRAME + 20, uint32_t(b.size() - wire::FRAME));
                          c.answer(request, b);
                      },
                      &msg),
                  KAVO_ERR);
        EXPECT_TRUE(same_bytes(msg, test_message(TYPE, 3, 84)));
        EXPECT_THAT(chassis.log.lines(),
                    Contains("Reply message len 137 is greater than request message len 136"));
        EXPECT_THAT(chassis.log.lines(), Contains("sync message nhtype[908] to slot 3 return 101001"));
    });
}

TEST(HalSend, LengthsThatLieInAReplyCopyNothingBeyondTheRequest) {
    hal_chassis::run([](HalChassis&) {
        hal_msg_t msg;
        EXPECT_EQ(send_to_card_that(
                      [](FakeCard& c, const Bytes& request) {
                          Bytes b = c.reply_to(request, 0);
                          b.resize(wire::NL + 1500, 0xEE);
                          wire::put32(b, wire::NL, 0xFFFFFFFF);
                          c.answer(request, b);
                      },
                      &msg),
                  0u);
        EXPECT_EQ(msg.buf[83], 83);
        for (size_t n = 84; n < HAL_PAYLOAD_MAX; n++)
            ASSERT_EQ(msg.buf[n], 0) << n;
    });
}

TEST(HalSend, BytesThatAShortReplyLeavesOutAreThoseOfTheRequest) {
    hal_chassis::run([](HalChassis&) {
        hal_msg_t msg;
        EXPECT_EQ(send_to_card_that(
                      [](FakeCard& c, const Bytes& request) {
                          Bytes b = c.reply_to(request, 0);
                          std::fill(b.begin() + wire::PAYLOAD, b.end(), 0xEE);
                          b.resize(wire::PAYLOAD + 4);
                          c.answer(request, b);
                      },
                      &msg),
                  0u);
        EXPECT_EQ(msg.buf[3], 0xEE);
        EXPECT_EQ(msg.buf[4], 4);
    });
}

TEST(HalSend, ReplyTooShortForAReturnCodeIsAFailure) {
    hal_chassis::run([](HalChassis& chassis) {
        EXPECT_EQ(send_to_card_that([](FakeCard& c, const Bytes& request) {
                      Bytes b = c.reply_to(request, 0);
                      b.resize(wire::FRAME + 35);
                      c.answer(request, b);
                  }),
                  KAVO_ERR);
        EXPECT_THAT(chassis.log.lines(), Contains("Reply message of 35 bytes is too short"));
    });
}

TEST(HalSend, ReplyTooLongForTheIpcIsAFailure) {
    hal_chassis::run([](HalChassis& chassis) {
        EXPECT_EQ(send_to_card_that([](FakeCard& c, const Bytes& request) {
                      Bytes b = c.reply_to(request, 0);
                      b.resize(wire::IPC + 3000);
                      c.answer(request, b);
                  }),
                  KAVO_ERR);
        EXPECT_THAT(chassis.log.lines(), Contains(HasSubstr("TIPC return code: -7:IPC_RC_MSG_TOO_LONG")));
    });
}

TEST(HalSend, ReturnCodeOfTheCardArrivesAsFailure) {
    hal_chassis::run([](HalChassis& chassis) {
        EXPECT_EQ(send_to_card_that([](FakeCard& c, const Bytes& request) { c.reply(request, 1003); }),
                  KAVO_ERR);
        EXPECT_THAT(chassis.log.lines(), Contains("sync message nhtype[908] to slot 3 return 1003"));
    });
}

TEST(HalSend, ARefusalSaysWhatTheCardsCodeMeans) {
    hal_chassis::run([](HalChassis&) {
        for (const auto& [code, reason] : {
                 std::pair(1001, "the card in slot 3 refused with code 1001: what it is about or refers to "
                                 "isn't there"),
                 std::pair(1006, "the card in slot 3 refused with code 1006: it is busy or in use"),
                 std::pair(77, "the card in slot 3 refused with code 77"),
             }) {
            const OvRefusal door("test");
            EXPECT_EQ(send_to_card_that([code](FakeCard& c, const Bytes& r) { c.reply(r, code); }), KAVO_ERR);
            EXPECT_STREQ(OvRefusal::current()->notes().reason.data(), reason);
        }
    });
}

TEST(HalSend, NotSupportedPassesThroughWithoutAComplaint) {
    hal_chassis::run([](HalChassis& chassis) {
        EXPECT_EQ(send_to_card_that([](FakeCard& c, const Bytes& request) { c.reply(request, 1008); }),
                  unsigned(OV_GPON_RET_NOT_SUPPORT));
        EXPECT_THAT(chassis.log.lines(), Each(Not(HasSubstr("return"))));
    });
}

TEST(HalSend, CardThatNeverAnswersCostsTheTimeoutAndNoMore) {
    hal_chassis::run([](HalChassis& chassis) {
        HalChassis::wait_for_answers(1);
        const auto began = std::chrono::steady_clock::now();
        EXPECT_EQ(send_to_card_that(FakeCard::be_silent), KAVO_ERR);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
        EXPECT_GE(took.count(), 0.9);
        EXPECT_LT(took.count(), 60); // and not for ever
        EXPECT_THAT(
            chassis.log.lines(),
            Contains("Send sync message Num[1] nhtype[908] length [100] to [10103] fail. TIPC return code: "
                     "-6:IPC_RC_TIMEOUT. Total failed count 1"));
        EXPECT_THAT(chassis.log.lines(), Contains("sync message nhtype[908] to slot 3 return -6"));
        EXPECT_THAT(
            chassis.log.slow_sends(),
            Contains(ContainsRegex(
                "^len: 100, type: 908, seq: 1, slot: 3, flags: 0, inter: [1-9][0-9]{3,4}\\.[0-9]{6} ms")));
    });
}

TEST(HalSend, LateReplyIsDroppedByTheNextWait) {
    hal_chassis::run([](HalChassis&) {
        Bytes first;
        FakeCard card(3, [&first](FakeCard& c, const Bytes& request) {
            if (first.empty()) {
                first = request;
                return;
            }
            c.reply(first, 1003); // the answer to the older request comes first
            c.reply(request, 0);
        });
        HalChassis::activate(3);
        HalChassis::wait_for_answers(1);
        hal_msg_t msg = test_message(TYPE, 3, 84);
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_ERR);
        HalChassis::wait_for_answers(12);
        msg = test_message(TYPE, 3, 84);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
    });
}

TEST(HalSend, WhatIsNotTheReplyIsPassedOver) {
    hal_chassis::run([](HalChassis& chassis) {
        hal_set_debug(1);
        EXPECT_EQ(send_to_card_that([](FakeCard& c, const Bytes& request) {
                      Bytes other = c.reply_to(request, 1003);
                      wire::put32(other, 20, wire::get32(request, 20) + 1); // another request's
                      c.answer(request, other);
                      other = c.reply_to(request, 1003);
                      wire::put32(other, 0, 0xface01bd); // no message of the IPC
                      c.answer(request, other);
                      other = c.reply_to(request, 1003);
                      wire::put32(other, 8, 0); // no reply
                      c.answer(request, other);
                      other.resize(10);
                      c.answer(request, other);
                      c.reply(request, 0);
                      c.reply(request, 1003); // once more
                  }),
                  0u);
        hal_set_debug(0);
        EXPECT_THAT(chassis.log.lines(),
                    Contains("!Oh, got a non reply, IPC_REPLY message, here it its header:\n"));
        EXPECT_THAT(chassis.log.lines(),
                    Contains("Let the ipcSyncSend() continue wait for a matching IPC_REPLY"));
        hal_msg_t msg = test_message(TYPE, 3, 84);
        FakeCard card(3);
        EXPECT_EQ(hal_send(&msg.hdr), 0u); // the duplicate doesn't answer this one
    });
}

TEST(HalSend, RequestThatComesBackIsAFailedSend) {
    hal_chassis::run([](HalChassis& chassis) {
        HalChassis::activate(3); // and nobody has the name
        const hal_msg_t before = test_message(TYPE, 3, 84);
        hal_msg_t msg = before;
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_ERR);
        EXPECT_TRUE(same_bytes(msg, before));
        EXPECT_THAT(chassis.log.lines(), Contains(HasSubstr("TIPC return code: -4:IPC_RC_MSG_RTRNED")));
    });
}

// Requests that this board once sent come back, as when a card died with them unread.
IPC_service_reg_st& sender_with_returned(unsigned count) {
    IPC_service_reg_st& reg = *ipc_registration(g_agent_msg_tx_cb->ipcHandle);
    Bytes old = wire::event(3, 903, Bytes(20));
    wire::put32(old, 8, IPC_REQUEST);
    wire::put32(old, 12, reg.serv_id);
    wire::put32(old, 16, reg.sub_id);
    for (unsigned n = 0; n < count; n++)
        wi_ipc_give_back(reg.sockets, old);
    return reg;
}

TEST(HalSend, OlderMessageThatCameBackIsTakenAndThePresentOneCountsAsSent) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard card(3);
        HalChassis::activate(3);
        const IPC_service_reg_st& sender = sender_with_returned(1);
        const hal_msg_t before = test_message(TYPE, 3, 84);
        hal_msg_t msg = before;
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_TRUE(same_bytes(msg, before));
        EXPECT_THAT(card.wait_for(1), SizeIs(1)); // it did go out
        EXPECT_EQ(sender.sockets.given_back, 0u);
        EXPECT_EQ(g_agent_msg_tx_cb->num_sync_send_return, 1u);
        EXPECT_EQ(g_agent_msg_tx_cb->num_sync_send_fail, 0u);
        EXPECT_THAT(chassis.log.lines(),
                    Contains("Send sync message Num[1] nhtype[908] length[100] to [10103]Total sync returned "
                             "message 1 cmd[903]"));
        EXPECT_EQ(hal_send(&msg.hdr), 0u); // its own reply, not the one that nobody took
        EXPECT_EQ(g_agent_msg_tx_cb->num_sync_send_return, 1u);
    });
}

TEST(HalSend, OfTwoMessagesThatCameBackEachSendTakesOne) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        HalChassis::activate(3);
        const IPC_service_reg_st& sender = sender_with_returned(2);
        hal_msg_t msg = test_message(TYPE, 3, 84);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_EQ(sender.sockets.given_back, 1u);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_EQ(sender.sockets.given_back, 0u);
        EXPECT_EQ(g_agent_msg_tx_cb->num_sync_send_return, 2u);
    });
}

TEST(HalSend, OneWaySendLeavesTheTakingOfAReturnedMessageToTheIpc) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard card(3, FakeCard::be_silent);
        HalChassis::activate(3);
        const IPC_service_reg_st& sender = sender_with_returned(2);
        LogCapture::clear();
        hal_msg_t msg = test_message(TYPE, 3, 84);
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        EXPECT_EQ(sender.sockets.given_back, 1u);
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u); // to take a second one now would wait, and end the process
        EXPECT_EQ(sender.sockets.given_back, 0u);
        EXPECT_THAT(card.wait_for(2), SizeIs(2));
        EXPECT_EQ(g_agent_msg_tx_cb->num_async_send_return, 2u);
        EXPECT_THAT(chassis.log.lines(),
                    ElementsAre("Send async message Num[1] nhtype[908] length[100] to [10103] return "
                                "IPC_RC_RTRNED_MSG_WAITING",
                                "Send async message Num[2] nhtype[908] length[100] to [10103] return "
                                "IPC_RC_RTRNED_MSG_WAITING"));
    });
}

TEST(HalSend, OneWayMessageThatCannotBeSentIsLoggedOnly) {
    hal_chassis::run([](HalChassis& chassis) {
        HalChassis::activate(3);
        hal_msg_t msg = test_message(TYPE, 3, 84);
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        ASSERT_TRUE(loop_until([] { return hal_outbox_messages(3) == 0; })); // it is tried once more
        EXPECT_THAT(
            chassis.log.lines(),
            Contains("Send async message Num[1] nhtype[908] length [100] to [10103] fail. TIPC return "
                     "code: -4:IPC_RC_MSG_RTRNED. Total failed count 1"));
    });
}

TEST(HalSend, BroadcastGoesToEachActiveCardInTurn) {
    hal_chassis::run([](HalChassis&) {
        FakeCard one(1);
        FakeCard four(4);
        FakeCard asleep(5);
        HalChassis::activate(1);
        HalChassis::activate(4);
        hal_msg_t msg = test_message(TYPE, 0, 20, 0x10);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
        EXPECT_EQ(msg.hdr.nlmsg_pid, 4u); // the last card's reply stands in the buffer
        EXPECT_EQ(one.seen().size(), 1u);
        EXPECT_EQ(four.seen().size(), 1u);
        EXPECT_THAT(asleep.seen(), IsEmpty());
        msg.hdr.nlmsg_pid = 0;
        EXPECT_EQ(hal_send_async(&msg.hdr), 0u);
        EXPECT_THAT(one.wait_for(2), SizeIs(2));
        EXPECT_THAT(four.wait_for(2), SizeIs(2));
    });
}

TEST(HalSend, AfterTheRefusalOfOneCardOfABroadcastTheOthersAreStillServed) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard refuses(1, [](FakeCard& c, const Bytes& request) {
            Bytes b = c.reply_to(request, 1003);
            std::fill(b.begin() + wire::PAYLOAD, b.end(), 0xEE);
            wire::put32(b, wire::NL, 16); // not even the length survives
            c.answer(request, b);
        });
        FakeCard four(4);
        HalChassis::activate(1);
        HalChassis::activate(4);
        hal_msg_t msg = test_message(TYPE, 0, 20, 0x10);
        EXPECT_EQ(hal_send(&msg.hdr), KAVO_ERR);
        ASSERT_THAT(four.seen(), SizeIs(1));
        EXPECT_THAT(four.seen()[0], SizeIs(28 + 36 + 36));
        EXPECT_EQ(four.seen()[0][wire::PAYLOAD], 0x10); // what was sent, not the other card's reply
        EXPECT_THAT(chassis.log.lines(),
                    Contains("sync broadcast message nhtype[908] to slot 1 return 1003"));
        EXPECT_THAT(chassis.log.lines(), Contains("Total 1 send failed"));
    });
}

TEST(HalSend, CardOfABroadcastThatDoesNotSupportItCountsAsSuccess) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(1, [](FakeCard& c, const Bytes& request) { c.reply(request, 1008); });
        HalChassis::activate(1);
        hal_msg_t msg = test_message(TYPE, 0, 20);
        EXPECT_EQ(hal_send(&msg.hdr), 0u);
    });
}

TEST(HalSend, EverySynchronousSendLeavesItsTimeInTheLibraryLog) {
    hal_chassis::run([](HalChassis& chassis) {
        send_to_card_that(FakeCard::agree);
        EXPECT_THAT(chassis.log.file_text(), HasSubstr("[TIMING]"));
        EXPECT_THAT(
            chassis.log.file_text(),
            ContainsRegex("len: 100, type: 908, seq: 1, slot: 3, flags: 0, inter: [0-9]+\\.[0-9]{6} ms\n"));
    });
}

TEST(HalTiming, ASendOfMoreThanFiftyMillisecondsIsInTheApplicationsLogToo) {
    LogCapture log;
    hal_send_timing send = {.len = 100, .type = 908, .seq = 7, .slot = 3, .flags = 0x10, .usec = 50000};
    hal_debug_log_timing(send);
    EXPECT_THAT(log.slow_sends(), IsEmpty()) << "fifty are fast";
    send.usec = 50001;
    hal_debug_log_timing(send);
    EXPECT_THAT(log.slow_sends(),
                ElementsAre("len: 100, type: 908, seq: 7, slot: 3, flags: 0x10, inter: 50.001000 ms"));
    send.usec = 12345678;
    hal_debug_log_timing(send);
    EXPECT_THAT(log.slow_sends().back(), EndsWith("inter: 12345.678000 ms"));
    // The library's log has all three, the application's the slow ones.
    const std::string text = log.file_text();
    size_t lines = 0;
    for (size_t at = text.find("[TIMING]"); at != std::string::npos; at = text.find("[TIMING]", at + 1))
        ++lines;
    EXPECT_EQ(lines, 5u) << text;
}

TEST(HalSend, BurstToACardThatReadsSlowlyLosesNothing) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3, FakeCard::be_silent);
        HalChassis::activate(3);
        constexpr uint32_t count = 5000;
        for (uint32_t n = 0; n < count; n++) {
            hal_msg_t msg = test_message(TYPE, 3, 4);
            msg.buf[0] = uint8_t(n >> 8);
            msg.buf[1] = uint8_t(n);
            ASSERT_EQ(hal_send_async(&msg.hdr), 0u);
        }
        ASSERT_TRUE(loop_until([&card] { return card.count() == count; }));
        const std::vector<Bytes> seen = card.seen();
        for (uint32_t n = 0; n < count; n++)
            ASSERT_EQ(wire::get16(seen[n], wire::PAYLOAD), n);
    });
}

} // namespace
