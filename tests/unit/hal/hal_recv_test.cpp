// What cards send by themselves, from the socket to the handler on the event loop.
#include "hal_recv_tipc.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "../support/hal_chassis.h"
#include "ov_types.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using wire::Bytes;

namespace {

struct Taken {
    unsigned type;
    Bytes body;
    bool operator==(const Taken&) const = default;
};
std::vector<Taken> taken;
unsigned handler_result = 0;
std::chrono::milliseconds handler_takes{0};

unsigned take(unsigned type, void* buf, unsigned len) {
    const auto* first = static_cast<const uint8_t*>(buf);
    taken.push_back({type, Bytes(first, first + (len - 16))});
    std::this_thread::sleep_for(handler_takes);
    return handler_result;
}

// Waits until so many messages stand in the asynchronous queue.
bool queued(int count) {
    for (int n = 0; n < 20000; n++) {
        if (ov_msgq_count(g_hal_tipc_recvq_info[1].hal_tipc_recv_asyncq) >= count)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void send_event(FakeCard& card, const Bytes& bytes) {
    card.send_to(111, 11100 + HalChassis::OWN_SLOT, bytes);
}

TEST(HalRecv, BeforeTheTransportIsOpenThereIsNothingToTakeFrom) {
    hal_chassis::run_closed([](HalChassis&) { EXPECT_EQ(hal_recv(take), KAVO_ERR); });
}

TEST(HalRecv, EmptyQueueIsToldAtOnce) {
    hal_chassis::run([](HalChassis&) {
        sem_wait(&g_hal_tipc_recvq_info[1].hal_tipc_recv_asyncq->semlock); // not even the lock is waited for
        EXPECT_EQ(hal_recv(take), KAVO_EMPTY);
        sem_post(&g_hal_tipc_recvq_info[1].hal_tipc_recv_asyncq->semlock);
    });
}

TEST(HalRecv, HandlerGetsTypePayloadAndLength) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        send_event(card, wire::event(3, 927, {1, 2, 3, 4}));
        ASSERT_TRUE(queued(1));
        handler_result = 17;
        EXPECT_EQ(hal_recv(take), 17u); // what the handler says
        EXPECT_THAT(taken, ElementsAre(Taken{927, {1, 2, 3, 4}}));
        EXPECT_EQ(hal_recv(take), KAVO_EMPTY);
    });
}

TEST(HalRecv, WithoutAHandlerAMessageIsTakenAndDropped) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        send_event(card, wire::event(3, 927, {1, 2, 3, 4}));
        ASSERT_TRUE(queued(1));
        EXPECT_EQ(hal_recv(nullptr), 0u);
        EXPECT_EQ(hal_recv(nullptr), KAVO_EMPTY);
    });
}

TEST(HalRecv, LengthsThatLieAreBoundedByWhatWasReceived) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        Bytes lies = wire::event(3, 922, {1, 2, 3, 4});
        wire::put32(lies, wire::NL, 0xFFFFFFFF);
        send_event(card, lies);
        lies = wire::event(3, 923, {5, 6, 7, 8});
        wire::put32(lies, wire::FRAME + 20, 0xFFFFFFFF);
        send_event(card, lies);
        ASSERT_TRUE(queued(2));
        EXPECT_EQ(hal_recv(take), 0u);
        EXPECT_EQ(hal_recv(take), 0u);
        EXPECT_THAT(taken, ElementsAre(Taken{922, {1, 2, 3, 4}}, Taken{923, {5, 6, 7, 8}}));
    });
}

TEST(HalRecv, WhatIsTooShortForAMessageIsDroppedAndTheNextOneComesThrough) {
    hal_chassis::run([](HalChassis&) {
        FakeCard card(3);
        Bytes cut = wire::event(3, 922, {});
        cut.resize(wire::NL + 15);
        send_event(card, cut);
        Bytes lies = wire::event(3, 922, {1, 2, 3, 4});
        wire::put32(lies, wire::NL, 15);
        send_event(card, lies);
        send_event(card, Bytes(7));                 // no IPC message
        send_event(card, Bytes(wire::IPC + 40, 9)); // nor this
        send_event(card, wire::event(3, 927, {9}));
        ASSERT_TRUE(queued(3));
        EXPECT_EQ(hal_recv(take), 0u);
        EXPECT_EQ(hal_recv(take), 0u);
        EXPECT_THAT(taken, IsEmpty());
        EXPECT_EQ(hal_recv(take), 0u);
        EXPECT_THAT(taken, ElementsAre(Taken{927, {9}}));
    });
}

TEST(HalRecv, TimerDispatchesEvery50Milliseconds) {
    hal_chassis::run_closed([](HalChassis& chassis) {
        chassis.open(take);
        FakeCard card(3);
        for (uint8_t n = 0; n < 25; n++)
            send_event(card, wire::event(3, 927, {n}));
        EXPECT_TRUE(frr_run_until([] { return taken.size() == 25; }));
        for (uint8_t n = 0; n < 25; n++)
            EXPECT_EQ(taken[n].body, Bytes{n});
        send_event(card, wire::event(3, 927, {25})); // it has armed itself again
        EXPECT_TRUE(frr_run_until([] { return taken.size() == 26; }));
    });
}

TEST(HalRecv, BurstIsCutOffAfter50MillisecondsAndTheRestWaits) {
    hal_chassis::run_closed([](HalChassis& chassis) {
        chassis.open(take);
        FakeCard card(3);
        for (uint8_t n = 0; n < 25; n++)
            send_event(card, wire::event(3, 927, {n}));
        ASSERT_TRUE(queued(25));
        handler_takes = std::chrono::milliseconds(6);
        EXPECT_EQ(hal_tipc_asyncmsg_dispatch(), 0u);
        EXPECT_THAT(taken, SizeIs(10)); // the clock is looked at after every ten
        EXPECT_THAT(chassis.log.lines(), Contains(HasSubstr("the rest waits for the next tick")));
        hal_tipc_asyncmsg_dispatch();
        hal_tipc_asyncmsg_dispatch();
        EXPECT_THAT(taken, SizeIs(25));
    });
}

TEST(HalRecv, TimeIsCountedFromTheStartOfTheBurst) {
    hal_chassis::run_closed([](HalChassis& chassis) {
        chassis.open(take);
        FakeCard card(3);
        for (uint8_t n = 0; n < 200; n++)
            send_event(card, wire::event(3, 927, {n}));
        ASSERT_TRUE(queued(200));
        handler_takes = std::chrono::milliseconds(2);
        hal_tipc_asyncmsg_dispatch();
        EXPECT_LE(taken.size(), 30u); // 25 take the whole quantum
        EXPECT_EQ(taken.size() % 10, 0u);
    });
}

TEST(HalRecv, HandlerThatFailsEndsTheRound) {
    hal_chassis::run_closed([](HalChassis& chassis) {
        chassis.open(take);
        FakeCard card(3);
        for (uint8_t n = 0; n < 3; n++)
            send_event(card, wire::event(3, 927, {n}));
        ASSERT_TRUE(queued(3));
        handler_result = 1;
        hal_tipc_asyncmsg_dispatch();
        EXPECT_THAT(taken, SizeIs(1));
        handler_result = 0;
        hal_tipc_asyncmsg_dispatch();
        EXPECT_THAT(taken, SizeIs(3));
    });
}

TEST(HalRecv, QueuesHaveTheirDepthsAndTimeouts) {
    hal_chassis::run([](HalChassis&) {
        EXPECT_EQ(g_hal_tipc_recvq_info[0].ipcHandle, -1);
        const hal_tipc_recvq& q = g_hal_tipc_recvq_info[1];
        EXPECT_EQ(q.ipcHandle, g_agent_msg_rx_cb->ipcHandle);
        EXPECT_EQ(q.hal_tipc_recv_syncq->total, 1024);
        EXPECT_EQ(q.hal_tipc_recv_asyncq->total, 40960);
        EXPECT_EQ(q.hal_tipc_recv_replyq->total, 512);
        EXPECT_EQ(q.hal_tipc_recv_syncq->sem_timeout, 1000000);
        EXPECT_EQ(q.hal_tipc_recv_asyncq->sem_timeout, 500000);
        EXPECT_EQ(q.hal_tipc_recv_replyq->sem_timeout, 1000000);
    });
}

TEST(HalRecv, FloodsBeyondTheDepthOfEachQueueLoseWhatIsTooMuchAndNoMore) {
    hal_chassis::run([](HalChassis& chassis) {
        FakeCard card(3);
        const hal_tipc_recvq& q = g_hal_tipc_recvq_info[1];
        struct Flood {
            uint32_t ipc_type;
            ov_msg_queue_t queue;
            int depth;
        };
        for (const Flood& flood :
             {Flood{1, q.hal_tipc_recv_syncq, 1024}, Flood{2, q.hal_tipc_recv_replyq, 512},
              Flood{0, q.hal_tipc_recv_asyncq, 40960}}) {
            LogCapture::clear();
            Bytes frame = wire::event(3, 927, {1, 2, 3, 4});
            wire::put32(frame, 8, flood.ipc_type);
            const auto dropped = [&] {
                const auto lines = chassis.log.lines();
                return std::count(lines.begin(), lines.end(),
                                  "msgq is full, msg_type[" + std::to_string(flood.ipc_type) +
                                      "] ipc_rcv_111_11108");
            };
            // All of the first so many are taken from the socket; it holds some hundred.
            const auto taken = [&](int count) {
                for (int n = 0; n < 20000 && ov_msgq_count(flood.queue) + dropped() < count; n++)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            };
            for (int n = 1; n <= flood.depth + 100; n++) {
                send_event(card, frame);
                if (n % 128 == 0)
                    taken(n);
            }
            taken(flood.depth + 100);
            EXPECT_EQ(dropped(), 100) << flood.ipc_type;
            EXPECT_EQ(ov_msgq_count(flood.queue), flood.depth) << flood.ipc_type;
        }
        EXPECT_EQ(hal_recv(take), 0u); // and there is room again
        send_event(card, wire::event(3, 923, {9}));
        EXPECT_TRUE(queued(40960));
    });
}

TEST(HalRecv, FloodBeyondTheQueueIsDroppedWithALogLineAndTheLoopLives) {
    hal_chassis::run_closed([](HalChassis& chassis) {
        g_hal_tipc_recvq_info[1].asyncq_max = 100;
        chassis.open(take);
        FakeCard card(3);
        for (int n = 0; n < 150; n++)
            send_event(card, wire::event(3, 927, {uint8_t(n)}));
        ASSERT_TRUE(queued(100));
        for (int n = 0; n < 20000 && chassis.log.lines().size() < 50; n++)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_THAT(chassis.log.lines(), Contains("msgq is full, msg_type[0] ipc_rcv_111_11108"));
        EXPECT_TRUE(frr_run_until([] { return taken.size() == 100; }));
        send_event(card, wire::event(3, 927, {200}));
        EXPECT_TRUE(frr_run_until([] { return taken.size() == 101; }));
        EXPECT_EQ(taken.back().body, Bytes{200});
    });
}

} // namespace
