// Notifications that find no room in the connection to the master agent.
#include "trap_queue.h"

#include <gmock/gmock.h>

#include <thread>

#include "../kavo/frr_fixture.h"
#include "../ov_common/private_root.h"
#include "../snmplib/played_master.h"
#include "../support/log_capture.h"
#include "agentx_link.h"
#include "table_list.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

std::vector<oid> sent;
void note(const TrapRow& trap) {
    sent.push_back(trap.number);
}

TrapRow trap(oid number) {
    return {.number = number, .desc = nullptr, .seconds = 0, .row = {}};
}

// A master that has a connection and reads when it is told to.
class SlowMaster {
public:
    SlowMaster() : master_(5, "/tmp/master") { connect(); }
    void connect() {
        EXPECT_EQ(open_link(), nullptr); // its session isn't open yet
        master_.open_session();
        link_ = open_link();
        EXPECT_NE(link_, nullptr);
        filled_ = 0;
    }
    void end() { master_.leave(); } // as by SIGKILL
    void close_link() {             // the daemon's end
        EXPECT_EQ(link_->f_close(link_), 0);
        netsnmp_transport_free(link_);
        link_ = nullptr;
    }
    void fill() {
        std::string notify(400, '\0');
        notify[0] = 1;
        notify[1] = 12;
        for (; filled_ < MANY && agentx_link_has_room(); filled_ += notify.size())
            ASSERT_GT(link_->f_send(link_, notify.data(), int(notify.size()), nullptr, nullptr), 0);
        ASSERT_LT(filled_, MANY);
    }
    void read_all() {
        std::string heard(filled_, '\0');
        EXPECT_EQ(recv(master_.fd(), heard.data(), heard.size(), MSG_WAITALL), ssize_t(heard.size()));
        filled_ = 0;
    }

private:
    static constexpr size_t MANY = 10'000'000;
    static netsnmp_transport* open_link() {
        return netsnmp_transport_open_client("agentx", "gponagentx:/tmp/master");
    }

    played::Master master_;
    netsnmp_transport* link_ = nullptr;
    size_t filled_ = 0;
};

void with_slow_master(const std::function<void(TrapQueue&, SlowMaster&, const LogCapture&)>& body) {
    private_root::run([&] {
        const LogCapture log;
        smux_init(frr_master());
        SlowMaster master;
        TrapQueue queue(note);
        sent.clear();
        LogCapture::clear();
        body(queue, master, log);
    });
}

TEST(TrapQueue, SendsAtOnceWhileThereIsRoom) {
    with_slow_master([](TrapQueue& queue, SlowMaster&, const LogCapture&) {
        queue.send(trap(1));
        queue.send(trap(2));
        EXPECT_THAT(sent, ElementsAre(1u, 2u));
        EXPECT_EQ(queue.waiting(), 0u);
    });
}

TEST(TrapQueue, SendsAtOnceWithoutALoopOrAMaster) {
    TrapQueue queue(note);
    sent.clear();
    queue.send(trap(1));
    EXPECT_THAT(sent, ElementsAre(1u));
}

TEST(TrapQueue, WhatFindsNoRoomGoesInItsOrderWhenTheMasterHasRead) {
    with_slow_master([](TrapQueue& queue, SlowMaster& master, const LogCapture&) {
        master.fill();
        for (oid number = 1; number <= 3; number++)
            queue.send(trap(number));
        EXPECT_THAT(sent, IsEmpty());
        EXPECT_EQ(queue.waiting(), 3u);
        std::thread([&queue] { queue.send(trap(4)); }).join();
        master.read_all();
        queue.send(trap(5)); // behind those that wait
        EXPECT_TRUE(frr_run_until([&queue] { return queue.waiting() == 0; }));
        EXPECT_THAT(sent, ElementsAre(1u, 2u, 3u, 4u, 5u));
    });
}

// With room in the connection and nothing in the way: the loop is woken for it.
TEST(TrapQueue, WhatAnotherThreadSendsIsSentByTheLoop) {
    with_slow_master([](TrapQueue& queue, SlowMaster&, const LogCapture&) {
        std::thread([&queue] {
            queue.send(trap(1));
            queue.send(trap(2));
        }).join();
        EXPECT_THAT(sent, IsEmpty()) << "not on that thread";
        EXPECT_EQ(queue.waiting(), 2u);
        EXPECT_TRUE(frr_run_until([&queue] { return queue.waiting() == 0; }));
        EXPECT_THAT(sent, ElementsAre(1u, 2u));
    });
}

TEST(TrapQueue, TheLoopTriesAgainByItself) {
    with_slow_master([](TrapQueue& queue, SlowMaster& master, const LogCapture&) {
        for (oid number = 1; number <= 2; number++) { // once more after it has been empty
            master.fill();
            queue.send(trap(number));
            master.read_all();
            EXPECT_TRUE(frr_run_until([&queue] { return queue.waiting() == 0; }));
        }
        EXPECT_THAT(sent, ElementsAre(1u, 2u));
    });
}

TEST(TrapQueue, AStormBeyondItsLimitIsLostWithOneLine) {
    with_slow_master([](TrapQueue& queue, SlowMaster& master, const LogCapture& log) {
        master.fill();
        for (oid number = 0; number < TrapQueue::LIMIT + 5; number++)
            queue.send(trap(number));
        EXPECT_EQ(queue.waiting(), TrapQueue::LIMIT);
        EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("more than 100000 notifications wait")));
        master.read_all();
        EXPECT_TRUE(frr_run_until([&queue] { return queue.waiting() == 0; }));
        EXPECT_THAT(sent, SizeIs(TrapQueue::LIMIT));
    });
}

TEST(TrapQueue, WhatWaitsWhenTheMasterEndsIsLostWithOneLine) {
    with_slow_master([](TrapQueue& queue, SlowMaster& master, const LogCapture& log) {
        master.fill();
        for (oid number = 1; number <= 3; number++)
            queue.send(trap(number));
        master.end();
        EXPECT_TRUE(frr_run_until([&queue] { return queue.waiting() == 0; }));
        EXPECT_THAT(sent, IsEmpty());
        EXPECT_THAT(log.lines(),
                    ElementsAre(HasSubstr("3 notifications are lost with the master agent's connection")));
    });
}

TEST(TrapQueue, AReconnectInBetweenSendsWhatComesAfterItAndNothingOfBefore) {
    with_slow_master([](TrapQueue& queue, SlowMaster& master, const LogCapture&) {
        for (oid number = 10; number <= 30; number += 10) {
            master.fill();
            queue.send(trap(number));
            master.close_link(); // as for a master that doesn't answer
            master.connect();
            queue.send(trap(number + 1));
        }
        EXPECT_EQ(queue.waiting(), 0u);
        EXPECT_THAT(sent, ElementsAre(11u, 21u, 31u));
    });
}

TEST(TrapQueue, AfterAReconnectWhatFindsNoRoomWaitsAgain) {
    with_slow_master([](TrapQueue& queue, SlowMaster& master, const LogCapture&) {
        master.fill();
        queue.send(trap(1));
        master.close_link();
        master.connect();
        master.fill();
        queue.send(trap(2));
        std::thread([&queue] { queue.send(trap(3)); }).join();
        EXPECT_THAT(sent, IsEmpty());
        master.read_all();
        EXPECT_TRUE(frr_run_until([&queue] { return queue.waiting() == 0; }));
        EXPECT_THAT(sent, ElementsAre(2u, 3u));
    });
}

TEST(TrapQueue, AFullQueueOfALostConnectionMakesRoomForTheNext) {
    with_slow_master([](TrapQueue& queue, SlowMaster& master, const LogCapture&) {
        master.fill();
        for (oid number = 0; number < TrapQueue::LIMIT; number++)
            queue.send(trap(number));
        master.close_link();
        master.connect();
        master.fill();
        queue.send(trap(7));
        EXPECT_EQ(queue.waiting(), 1u);
    });
}

} // namespace
