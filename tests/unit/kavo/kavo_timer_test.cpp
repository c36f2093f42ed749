#include "../support/on_loop.h"
#include "../support/test_clock.h"
#include "frr_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>

using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

std::vector<std::string> ran;

// Names itself and when it ran, in milliseconds since the clock was made.
ov_mono_time_t start;
int note(struct thread* event) {
    const auto at = std::chrono::duration_cast<std::chrono::milliseconds>(ov_mono_now() - start);
    ran.push_back(static_cast<const char*>(THREAD_ARG(event)) + (" " + std::to_string(at.count())));
    return 0;
}

void arm(const char* name, long msec, struct thread** ref = nullptr) {
    kavo_add_timer_msec(frr_master(), note, const_cast<char*>(name), msec, ref);
}

int arm_another(struct thread* event) {
    note(event);
    arm("another", 50);
    return 0;
}

int every_minute(struct thread* event) {
    note(event);
    kavo_add_timer(frr_master(), every_minute, THREAD_ARG(event), 60, nullptr);
    return 0;
}

class Timers : public testing::Test {
protected:
    Timers() {
        ran.clear();
        start = ov_mono_now();
    }
    TestClock clock;
};

TEST_F(Timers, NothingRunsBeforeItsTime) {
    arm("a", 100);
    clock.advance(99ms);
    EXPECT_THAT(ran, ElementsAre());
    clock.advance(1ms);
    EXPECT_THAT(ran, ElementsAre("a 100"));
    EXPECT_EQ(clock.armed(), 0u);
}

TEST_F(Timers, RunInTheOrderOfTheirTimeAndAtIt) {
    arm("late", 300);
    arm("first", 100);
    arm("second", 100);
    clock.advance(1h);
    EXPECT_THAT(ran, ElementsAre("first 100", "second 100", "late 300"));
}

TEST_F(Timers, ATimerThatIsArmedByATimerRunsInTheSameTime) {
    static char name[] = "one";
    kavo_add_timer_msec(frr_master(), arm_another, name, 100, nullptr);
    arm("two", 160);
    clock.advance(1s);
    EXPECT_THAT(ran, ElementsAre("one 100", "another 150", "two 160"));
}

TEST_F(Timers, AQuarterOfAnHourPassesMinuteByMinute) {
    static char name[] = "minute";
    kavo_add_timer(frr_master(), every_minute, name, 60, nullptr);
    clock.advance(15min);
    EXPECT_EQ(ran.size(), 15u);
    EXPECT_EQ(ran.back(), "minute 900000");
    EXPECT_EQ(ov_wall_time(), TestClock::START + 900);
}

TEST_F(Timers, AWallClockThatIsSetBackMovesNoTimer) {
    arm("a", 1000);
    clock.set_wall(TestClock::START - 86400);
    EXPECT_EQ(ov_wall_time(), TestClock::START - 86400);
    clock.advance(1s);
    EXPECT_THAT(ran, ElementsAre("a 1000"));
    EXPECT_EQ(ov_wall_time(), TestClock::START - 86400 + 1);
}

TEST_F(Timers, AnArmedTimerIsLeftAsItIs) {
    struct thread* ref = nullptr;
    arm("a", 100, &ref);
    EXPECT_NE(ref, nullptr);
    arm("b", 10, &ref);
    clock.advance(1s);
    EXPECT_THAT(ran, ElementsAre("a 100"));
    EXPECT_EQ(ref, nullptr);
    arm("c", 10, &ref);
    clock.advance(1s);
    EXPECT_THAT(ran, ElementsAre("a 100", "c 1010"));
}

TEST_F(Timers, ACancelledTimerDoesNotRun) {
    struct thread* ref = nullptr;
    arm("a", 100, &ref);
    kavo_cancel_timer(&ref);
    EXPECT_EQ(ref, nullptr);
    kavo_cancel_timer(&ref);
    clock.advance(1s);
    EXPECT_THAT(ran, ElementsAre());
}

TEST_F(Timers, AnAlarmRepeatsUntilItIsTakenBack) {
    int rings = 0;
    const unsigned repeating = clock.add_alarm(5s, true, [&](unsigned) { ++rings; });
    clock.add_alarm(5s, false, [&](unsigned) { rings += 100; });
    EXPECT_NE(repeating, 0u);
    clock.advance(15s);
    EXPECT_EQ(rings, 103);
    clock.remove_alarm(repeating);
    clock.advance(15s);
    EXPECT_EQ(rings, 103);
}

TEST_F(Timers, BelongToTheLoop) {
    const AnyThread watched;
    struct thread* ref = nullptr;
    std::thread([&ref] { arm("a", 100, &ref); }).join();
    EXPECT_EQ(watched.intruders(), 1);
    std::thread([&ref] { kavo_cancel_timer(&ref); }).join();
    EXPECT_EQ(watched.intruders(), 2);
}

TEST(TimersOfTheLoop, AreCancelledWhileATestHasTakenTheOthers) {
    ran.clear();
    struct thread* ref = nullptr;
    arm("a", 5, &ref);
    {
        TestClock clock;
        kavo_cancel_timer(&ref);
    }
    EXPECT_EQ(ref, nullptr);
    arm("b", 10);
    ASSERT_TRUE(frr_run_until([] { return !ran.empty(); }));
    EXPECT_EQ(ran.front().substr(0, 2), "b ");
}

} // namespace
