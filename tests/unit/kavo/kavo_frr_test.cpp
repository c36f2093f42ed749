#include "frr_fixture.h"
#include "kavo_timer.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

int reads_seen;
int last_fd;
void* last_arg;

int count_read(struct thread* thread) {
    reads_seen++;
    last_fd = THREAD_FD(thread);
    last_arg = THREAD_ARG(thread);
    return -1; // the loop has no use for it
}

int count_timer(struct thread* thread) {
    ++*static_cast<int*>(THREAD_ARG(thread));
    return 0;
}

int keep_value(struct thread* thread) {
    *static_cast<int*>(THREAD_ARG(thread)) = THREAD_VAL(thread);
    return 0;
}

struct Pipe {
    Pipe() { EXPECT_EQ(pipe(end), 0); }
    ~Pipe() {
        close(end[0]);
        close(end[1]);
    }
    int end[2];
};

TEST(KavoFrr, NodeNumbersAreThoseTheShellKnows) {
    EXPECT_EQ(VLAN_NODE, 35);
    EXPECT_EQ(GPON_NODE, 40);
    EXPECT_EQ(ONU_SRV_PROFILE_NODE, 41);
    EXPECT_EQ(IF_TRUNK_NODE, 42);
    EXPECT_EQ(IF_NODE, 43);
    EXPECT_EQ(IF_GPON_NODE, 47);
    EXPECT_EQ(QINQ_NODE, 107);
    EXPECT_EQ(GPON_ONU_NODE, 131);
    EXPECT_EQ(static_cast<int>(IF_GPON_ONU_NODE), 131);
    EXPECT_EQ(RM_GPON_ONU_NODE, 132);
    EXPECT_EQ(MCAST_VLAN_NODE, 135);
    EXPECT_EQ(NODE_TYPE_MAX, 146);
    EXPECT_LT(LIB_NODE_MAX, VLAN_NODE);
}

TEST(KavoFrr, SessionHasRoomForTheDaemonsState) {
    FrrSession session(CONFIG_NODE);
    EXPECT_EQ(session.vty->index, nullptr);
    EXPECT_EQ(session.vty->info, nullptr);
    EXPECT_EQ(session.vty->cfg_node, 0);
    EXPECT_EQ(session.vty->write_term_flag, 0);
    EXPECT_EQ(sizeof(session.vty->write_term_info), 100u);
}

TEST(KavoFrr, ReadHandlerRunsOnceWithItsDescriptorAndArgument) {
    Pipe pipe;
    struct thread* ref = nullptr;
    int argument = 0;
    reads_seen = 0;
    kavo_add_read(frr_master(), count_read, &argument, pipe.end[0], &ref);
    EXPECT_NE(ref, nullptr);
    ASSERT_EQ(write(pipe.end[1], "x", 1), 1);

    ASSERT_TRUE(frr_run_until([] { return reads_seen > 0; }));
    EXPECT_EQ(last_fd, pipe.end[0]);
    EXPECT_EQ(last_arg, &argument);
    EXPECT_EQ(ref, nullptr);

    // the byte is still there, but the event is used up
    int later = 0;
    kavo_add_timer_msec(frr_master(), count_timer, &later, 20, nullptr);
    ASSERT_TRUE(frr_run_until([&] { return later > 0; }));
    EXPECT_EQ(reads_seen, 1);
}

TEST(KavoFrr, TimersFireAfterTheirTime) {
    int seconds = 0, milliseconds = 0;
    const auto start = std::chrono::steady_clock::now();
    kavo_add_timer(frr_master(), count_timer, &seconds, 1, nullptr);
    kavo_add_timer_msec(frr_master(), count_timer, &milliseconds, 30, nullptr);
    ASSERT_TRUE(frr_run_until([&] { return milliseconds > 0; }));
    EXPECT_EQ(seconds, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
    ASSERT_TRUE(frr_run_until([&] { return seconds > 0; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(KavoFrr, CancelledTimerDoesNotFire) {
    int fired = 0, later = 0;
    struct thread* ref = nullptr;
    kavo_add_timer_msec(frr_master(), count_timer, &fired, 10, &ref);
    kavo_add_timer_msec(frr_master(), count_timer, &later, 30, nullptr);
    thread_cancel(&ref);
    ASSERT_TRUE(frr_run_until([&] { return later > 0; }));
    EXPECT_EQ(fired, 0);
}

TEST(KavoFrr, EventCarriesItsValue) {
    int value = 0;
    kavo_add_event(frr_master(), keep_value, &value, 7, nullptr);
    ASSERT_TRUE(frr_run_until([&] { return value != 0; }));
    EXPECT_EQ(value, 7);
}

TEST(KavoFrr, BrokenConnectionIsAnErrorAndNotASignal) {
    frr_master();
    struct sigaction action {};
    ASSERT_EQ(sigaction(SIGPIPE, nullptr, &action), 0);
    EXPECT_EQ(action.sa_handler, SIG_IGN);
}

TEST(KavoFrr, LogIsOpenedWithProtocolWordAndAllLevels) {
    EXPECT_EQ(static_cast<int>(ZLOG_GPON), 33);
    openzlog("gpon", ZLOG_GPON, LOG_PID | LOG_CONS | LOG_NDELAY, LOG_DAEMON);
    EXPECT_STREQ(zlog_prefix, "GPON: ");
    EXPECT_EQ(zlog_syslog_get_prio_min(), LOG_DEBUG);
    EXPECT_EQ(zlog_syslog_get_facility(), LOG_DAEMON);
    zlog_syslog_set_prio_min(ZLOG_DISABLED);
}

} // namespace
