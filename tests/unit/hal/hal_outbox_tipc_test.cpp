// The same over TIPC, whose overloaded receivers give messages back, at once or a while later: one that is
// played, or the kernel's (../support/carrier.h).
#include "hal_outbox.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>
#include <utility>

#include <linux/tipc.h>
#include <poll.h>

#include "../support/hal_chassis.h"
#include "../tipc/fake_tipc.h"
#include "hal_request.h"
#include "hal_sock.h"
#include "ov_types.h"

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using wire::Bytes;

namespace {

constexpr uint16_t TYPE = 908;
constexpr auto LIMIT = uint32_t(fake_tipc::QUEUE_LIMIT);

sockaddr_tipc address(uint32_t type, uint32_t instance) {
    sockaddr_tipc name = {};
    name.family = AF_TIPC;
    name.addrtype = TIPC_SERVICE_ADDR;
    name.scope = TIPC_CLUSTER_SCOPE;
    name.addr.name.name = {type, instance};
    return name;
}

// An agent that reads when it is told to.
class TipcCard {
public:
    explicit TipcCard(uint32_t slot) : slot_(slot), sock_(socket(AF_TIPC, SOCK_RDM | SOCK_CLOEXEC, 0)) {
        const int size = 0x4000; // a kernel's own takes thousands of messages
        setsockopt(sock_, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
        const sockaddr_tipc name = address(19101, 10100 + slot);
        EXPECT_EQ(bind(sock_, reinterpret_cast<const sockaddr*>(&name), sizeof(name)), 0);
    }
    ~TipcCard() { leave(); }
    TipcCard(const TipcCard&) = delete;
    TipcCard& operator=(const TipcCard&) = delete;

    void leave() {
        if (sock_ >= 0)
            close(sock_);
        sock_ = -1;
    }
    // Reads up to so many messages of those that wait; requests are answered.
    void read(size_t count) {
        pollfd waiting = {.fd = sock_, .events = POLLIN, .revents = 0};
        for (; count > 0 && poll(&waiting, 1, 0) > 0; count--)
            read_one();
    }
    void read_one() {
        Bytes bytes(4096);
        iovec part = {bytes.data(), bytes.size()};
        msghdr msg = {};
        msg.msg_iov = &part;
        msg.msg_iovlen = 1;
        const ssize_t length = recvmsg(sock_, &msg, 0);
        ASSERT_GT(length, 0);
        bytes.resize(size_t(length));
        seen.push_back(bytes);
        if (wire::get32(bytes, 8) == 1)
            answer(bytes);
    }
    std::vector<uint32_t> numbers() const {
        std::vector<uint32_t> found;
        for (const Bytes& frame : seen)
            found.push_back(wire::get32(frame, wire::PAYLOAD));
        return found;
    }

    std::vector<Bytes> seen;

private:
    void answer(const Bytes& request) const {
        Bytes b = wire::ipc_header(2, 101, 10100 + slot_, wire::get32(request, 20));
        b.insert(b.end(), request.begin() + wire::IPC, request.end());
        const sockaddr_tipc to = address(19000 + wire::get32(request, 12), wire::get32(request, 16));
        EXPECT_EQ(sendto(sock_, b.data(), b.size(), MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&to),
                         sizeof(to)),
                  ssize_t(b.size()));
    }

    uint32_t slot_;
    int sock_;
};

void run_tipc(const std::function<void(HalChassis&)>& body) {
    hal_chassis::run_closed([&](HalChassis& chassis) {
        fake_tipc::enter();
        setenv("OV_IPC_CARRIER", "tipc", 1); // NOLINT(concurrency-mt-unsafe)
        chassis.open();
        for (const unsigned short slot : {3, 4})
            HalChassis::activate(slot);
        LogCapture::clear();
        body(chassis);
    });
}

void post(uint32_t slot, uint32_t number, uint32_t payload = 8) {
    hal_msg_t msg = test_message(TYPE, slot, payload);
    for (int n = 0; n < 4; n++)
        msg.buf[n] = uint8_t(number >> (24 - 8 * n));
    ASSERT_EQ(hal_send_async(&msg.hdr), 0u);
}

void post_all(uint32_t slot, uint32_t from, uint32_t to) {
    for (uint32_t n = from; n < to; n++)
        post(slot, n);
}

// Posts until the card has no room, and drops the message that it had none for: how many it took.
uint32_t fill(uint32_t slot) {
    uint32_t sent = 0;
    while (hal_outbox_messages(slot) == 0 && sent < 1000)
        post(slot, sent++);
    EXPECT_EQ(hal_outbox_messages(slot), 1u);
    hal_outbox_clear(slot);
    return sent - 1;
}

std::vector<uint32_t> up_to(uint32_t count) {
    std::vector<uint32_t> all(count);
    for (uint32_t n = 0; n < count; n++)
        all[n] = n;
    return all;
}

// Runs the loop until the card, which reads a few messages at a time, has so many.
bool card_gets(TipcCard& card, size_t count) {
    return loop_until([&] {
        card.read(7);
        return card.seen.size() >= count;
    });
}

TEST(HalOutboxTipc, WhatAnOverloadedCardGivesBackAtOnceGoesOutInOrderWhenItReads) {
    run_tipc([](HalChassis& chassis) {
        TipcCard card(3);
        TipcCard other(4);
        const uint32_t limit = fill(3);
        LogCapture::clear();
        post_all(3, limit, 3 * limit);
        EXPECT_EQ(hal_outbox_messages(3), 2 * limit);
        post(4, 1);
        other.read(1);
        EXPECT_THAT(other.seen, SizeIs(1)); // which isn't held up
        ASSERT_TRUE(card_gets(card, 3 * limit));
        EXPECT_EQ(card.numbers(), up_to(3 * limit));
        EXPECT_EQ(hal_outbox_bytes(3), 0u);
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
    });
}

// Each of two cards gets its own back, in the order in which they were sent and not that in which they come.
TEST(HalOutboxTipc, WhatComesBackLaterGoesToTheHeadOfItsOutboxInOrder) {
    run_tipc([](HalChassis& chassis) {
        TipcCard card(3);
        TipcCard other(4);
        fake_tipc::hold_returns();
        for (uint32_t n = 0; n < LIMIT + 50; n++) {
            post(3, n);
            post(4, n);
        }
        EXPECT_EQ(hal_outbox_messages(3), 0u); // as far as anybody knows
        fake_tipc::release_returns(true);
        ASSERT_TRUE(loop_until([] { return hal_outbox_messages(3) == 50 && hal_outbox_messages(4) == 50; }));
        post(3, LIMIT + 50);
        ASSERT_TRUE(card_gets(card, LIMIT + 51));
        EXPECT_EQ(card.numbers(), up_to(LIMIT + 51));
        ASSERT_TRUE(card_gets(other, LIMIT + 50));
        EXPECT_EQ(other.numbers(), up_to(LIMIT + 50));
        EXPECT_THAT(chassis.log.lines(), IsEmpty());
    });
}

TEST(HalOutboxTipc, TheNextSendTakesBackFirstWhatHasComeBack) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        fake_tipc::hold_returns();
        post_all(3, 0, LIMIT + 2);
        fake_tipc::release_returns();
        card.read(LIMIT); // there is room again, and no loop has run
        post(3, LIMIT + 2);
        EXPECT_EQ(hal_outbox_messages(3), 3u);
        ASSERT_TRUE(card_gets(card, LIMIT + 3));
        EXPECT_EQ(card.numbers(), up_to(LIMIT + 3));
    });
}

TEST(HalOutboxTipc, ARequestGoesBehindWhatCameBack) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        const uint32_t limit = fill(3);
        post_all(3, limit, 2 * limit);
        std::thread agent([&card, limit] {
            while (card.seen.size() < 2 * limit + 1)
                card.read_one();
        });
        hal_msg_t request = test_message(909, 3, 8);
        EXPECT_EQ(hal_send(&request.hdr), 0u);
        agent.join();
        EXPECT_EQ(wire::get16(card.seen.back(), wire::NL + 4), 909);
        card.seen.pop_back();
        EXPECT_EQ(card.numbers(), up_to(2 * limit));
    });
}

TEST(HalOutboxTipc, WhatComesBackWhileAReplyIsAwaitedIsNotLost) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        fake_tipc::hold_returns();
        post_all(3, 0, LIMIT + 3);
        card.read(LIMIT);
        std::thread agent([&card] {
            while (card.seen.size() < LIMIT + 1) {
                if (fake_tipc::waiting(19101, 10103) == 0)
                    continue;
                fake_tipc::release_returns(); // they are there when the answer comes
                card.read_one();
            }
        });
        hal_msg_t request = test_message(909, 3, 8);
        EXPECT_EQ(hal_send(&request.hdr), 0u);
        agent.join();
        EXPECT_EQ(wire::get16(card.seen.back(), wire::NL + 4), 909);
        card.seen.pop_back();
        ASSERT_TRUE(card_gets(card, LIMIT + 3));
        EXPECT_EQ(card.numbers(), up_to(LIMIT + 3));
    });
}

// ---- requests of the loop that come back (hal_request.h) --------------------------------------------------

using Ends = std::vector<std::pair<uint32_t, bool>>; // what was asked, and whether it was answered

struct Ask {
    Ends* ends;
    uint32_t number;
};

void note_end(void* context, unsigned result, const hal_nlmsghdr* reply) {
    const Ask& ask = *static_cast<Ask*>(context);
    ask.ends->emplace_back(ask.number, result == 0 && reply != nullptr);
}

// Asks the card 3 for each of the numbers, until its queue holds what it can and `beyond` more.
std::vector<Ask> ask_beyond(Ends& ends, uint32_t beyond) {
    std::vector<Ask> asks;
    for (uint32_t n = 0; n < LIMIT + beyond; n++)
        asks.push_back({&ends, n});
    for (Ask& ask : asks) {
        hal_msg_t request = test_message(925, 3, 8);
        for (int n = 0; n < 4; n++)
            request.buf[n] = uint8_t(ask.number >> (24 - 8 * n));
        EXPECT_EQ(hal_request(&request.hdr, note_end, &ask), HalRequest::SENT);
    }
    return asks;
}

TEST(HalOutboxTipc, AnAskedRequestThatComesBackIsSentAgainAndAnsweredOnce) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        fake_tipc::hold_returns();
        Ends ends;
        const auto asks = ask_beyond(ends, 5);
        fake_tipc::release_returns();
        ASSERT_TRUE(card_gets(card, LIMIT + 5));
        ASSERT_TRUE(loop_until([&] { return ends.size() == LIMIT + 5; }));
        EXPECT_EQ(hal_requests_under_way(), 0u);
        std::sort(ends.begin(), ends.end());
        for (uint32_t n = 0; n < LIMIT + 5; n++)
            EXPECT_EQ(ends[n], std::pair(n, true));
    });
}

TEST(HalOutboxTipc, AnAskedRequestThatFindsTheCardGoneFails) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        fake_tipc::hold_returns();
        Ends ends;
        const auto asks = ask_beyond(ends, 0);
        card.leave(); // what it hadn't read comes back
        fake_tipc::release_returns();
        ASSERT_TRUE(loop_until([&] { return ends.size() == LIMIT; }));
        for (const auto& [number, answered] : ends)
            EXPECT_FALSE(answered) << number;
        EXPECT_EQ(hal_requests_under_way(), 0u);
    });
}

// The worst moment: it comes back when a send that waits has just looked for what came back.
TEST(HalOutboxTipc, AnAskedRequestThatComesBackEndsNoOtherSend) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        fake_tipc::hold_returns();
        Ends ends;
        const auto asks = ask_beyond(ends, 1);
        card.read(LIMIT);
        ASSERT_TRUE(loop_until([&] { return ends.size() == LIMIT; })); // their answers leave room for another
        fake_tipc::release_returns();
        std::thread agent([&card] {
            while (card.seen.size() < LIMIT + 1)
                card.read_one();
        });
        const Bytes request(8, 5);
        Bytes reply(64);
        EXPECT_EQ(ipc_send_sync_msg(g_agent_msg_tx_cb, 10103, request.data(), int(request.size()),
                                    reply.data(), int(reply.size())),
                  int(request.size()));
        agent.join();
        ASSERT_TRUE(card_gets(card, LIMIT + 2));
        ASSERT_TRUE(loop_until([&] { return ends.size() == LIMIT + 1; }));
        for (const auto& [number, answered] : ends)
            EXPECT_TRUE(answered) << number;
    });
}

TEST(HalOutboxTipc, ARequestToAnOverloadedCardIsRepeatedWithinItsTimeout) {
    run_tipc([](HalChassis& chassis) {
        TipcCard card(3);
        const uint32_t limit = fill(3);
        HalChassis::wait_for_answers(1);
        hal_msg_t request = test_message(909, 3, 8);
        EXPECT_EQ(hal_send(&request.hdr), KAVO_ERR);
        EXPECT_THAT(chassis.log.lines(), Contains(HasSubstr("-6:IPC_RC_TIMEOUT")));
        HalChassis::wait_for_answers(12);
        std::thread agent([&card, limit] {
            while (card.seen.size() < limit + 1)
                card.read_one();
        });
        EXPECT_EQ(hal_send(&request.hdr), 0u);
        agent.join();
    });
}

TEST(HalOutboxTipc, AFullRestoreArrivesWholeAndInOrderAtACardThatReadsSlowly) {
    run_tipc([](HalChassis& chassis) {
        constexpr uint32_t COUNT = 60000;
        TipcCard card(3);
        post_all(3, 0, COUNT);
        for (size_t before = 0; card.seen.size() < COUNT; before = card.seen.size()) {
            loop_until([&] {
                card.read(200);
                return card.seen.size() >= COUNT;
            });
            ASSERT_GT(card.seen.size(), before);
        }
        EXPECT_TRUE(card.numbers() == up_to(COUNT));
        EXPECT_THAT(chassis.log.lines(), testing::Not(Contains(HasSubstr("fail"))));
    });
}

TEST(HalOutboxTipc, AMessageThatCameBackCutIsDroppedWithALine) {
    run_tipc([](HalChassis& chassis) {
        const TipcCard card(3);
        fake_tipc::hold_returns();
        post_all(3, 0, LIMIT);
        post(3, LIMIT, 1500);
        fake_tipc::release_returns();
        ASSERT_TRUE(loop_until([&] { return !chassis.log.lines().empty(); }));
        EXPECT_THAT(chassis.log.lines(),
                    Contains("A message to slot 3 came back with 996 bytes only and can't be sent again"));
        EXPECT_EQ(hal_outbox_messages(3), 0u);
    });
}

TEST(HalOutboxTipc, WhatADyingAgentLeftUnreadGoesToItsSuccessor) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        post_all(3, 0, 10);
        card.read(4);
        card.leave();
        TipcCard successor(3);
        ASSERT_TRUE(card_gets(successor, 6));
        EXPECT_EQ(successor.numbers(), (std::vector<uint32_t>{4, 5, 6, 7, 8, 9}));
    });
}

TEST(HalOutboxTipc, WhatComesBackForASlotThatIsGoneIsDropped) {
    run_tipc([](HalChassis&) {
        TipcCard card(3);
        post_all(3, 0, 10);
        hal_slot_active_flag_clear("test", 0, 3);
        card.leave();
        post(4, 1); // takes what has come back
        EXPECT_EQ(hal_outbox_messages(3), 0u);
    });
}

} // namespace
