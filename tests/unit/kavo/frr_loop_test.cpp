// How often libfrr's event loop looks at its descriptors: on a slow processor each look counts.
#include <gmock/gmock.h>

#include <dlfcn.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "frr_fixture.h"

namespace {
std::atomic<int> polls = 0;
}

// The library's poll goes through here. Where a long is too short for the time, the C library has two of
// them.
extern "C" int ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask) {
    constexpr const char* NAME = sizeof(time_t) > sizeof(long) ? "__ppoll64" : "ppoll";
    static auto* const next = reinterpret_cast<decltype(&ppoll)>(dlsym(RTLD_NEXT, NAME));
    ++polls;
    return next(fds, count, timeout, mask);
}

namespace {

int events = 0;

void count_event(struct thread* /*event*/) {
    ++events;
}

// One descriptor with something to read, which is read by an event that arms itself again.
int ends[2];
struct thread* read_event = nullptr;
void read_and_arm_again(struct thread* event) {
    char byte = 0;
    EXPECT_EQ(read(THREAD_FD(event), &byte, 1), 1);
    ++events;
    thread_add_read(frr_master(), read_and_arm_again, nullptr, ends[1], &read_event);
}

class FrrLoop : public testing::Test {
protected:
    FrrLoop() {
        events = 0;
        thread_add_event(frr_master(), count_event, nullptr, 0, nullptr); // behind what the set-up left
        frr_run_until([] { return events == 1; });
        events = 0;
        polls = 0;
    }
};

TEST_F(FrrLoop, SleepsUntilATimerIsDueNotUntilTheMillisecondBeforeIt) {
    for (int i = 0; i < 20; i++) {
        events = 0;
        thread_add_timer_msec(frr_master(), count_event, nullptr, 3, nullptr);
        ASSERT_TRUE(frr_run_until([] { return events == 1; }));
    }
    // One for each timer, and for some a second one where the clock of the poll ran ahead.
    EXPECT_LE(polls, 60);
}

TEST_F(FrrLoop, AReadEventThatIsArmedAgainDoesNotWakeTheLoop) {
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    thread_add_read(frr_master(), read_and_arm_again, nullptr, ends[1], &read_event);
    for (int i = 1; i <= 10; i++) {
        ASSERT_EQ(write(ends[0], "x", 1), 1);
        ASSERT_TRUE(frr_run_until([i] { return events == i; }));
    }
    EXPECT_EQ(polls, 10);
    thread_cancel(&read_event);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(FrrLoop, AnEventOfAnotherThreadWakesTheLoopFromItsSleep) {
    std::thread other([] {
        while (polls == 0)
            std::this_thread::yield();
        usleep(20000); // the loop is asleep by now, for five seconds
        thread_add_event(frr_master(), count_event, nullptr, 0, nullptr);
    });
    EXPECT_TRUE(frr_run_until([] { return events == 1; }));
    other.join();
}

} // namespace
