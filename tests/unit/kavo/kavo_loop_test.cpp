#include "kavo_loop.h"

#include "../support/log_capture.h"
#include "../support/test_clock.h"
#include "frr_fixture.h"

#include <gmock/gmock.h>

#include <ctime>
#include <string>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

TestClock* g_clock = nullptr;
std::chrono::microseconds g_takes;
const char* g_does = nullptr;

int work(struct thread* /*event*/) {
    kavo_loop_doing(g_does);
    g_clock->take(g_takes);
    return 0;
}
int other_work(struct thread* event) {
    return work(event);
}

// The next event of the loop.
void run_event() {
    struct thread event;
    ASSERT_NE(thread_fetch(frr_master(), &event), nullptr);
    kavo_loop_call(&event);
}

kavo_loop_handler_t handler(const std::string& name) {
    for (kavo_loop_handler_t& found : kavo_loop_handlers())
        if (found.name == name)
            return found;
    return {};
}

class KavoLoop : public testing::Test {
protected:
    KavoLoop() {
        static int tests = 0;
        frr_master();
        g_clock = &clock;
        g_does = nullptr;
        clock.advance(++tests * 24h); // lines of one test aren't another's
        LogCapture::clear();
    }

    // A run that takes so long.
    static void work_for(std::chrono::microseconds time, const char* does = nullptr) {
        g_takes = time;
        g_does = does;
        kavo_add_event(frr_master(), work, nullptr, 0, nullptr);
        run_event();
    }

    LogCapture log;
    TestClock clock;
};

TEST_F(KavoLoop, AHandlerAboveTheLimitLeavesALineWithItsNameAndTime) {
    work_for(KAVO_LOOP_SLOW);
    EXPECT_THAT(log.lines(), IsEmpty());
    const uint32_t before = kavo_loop_slow_runs();
    work_for(KAVO_LOOP_SLOW + 50ms);
    EXPECT_THAT(log.lines(), ElementsAre("handler work held the loop for 150 ms"));
    EXPECT_EQ(kavo_loop_slow_runs(), before + 1);
}

TEST_F(KavoLoop, TheLineSaysWhatTheHandlerDid) {
    work_for(1s, "show everything");
    work_for(1s);
    EXPECT_THAT(log.lines(), ElementsAre("handler work held the loop for 1000 ms: show everything",
                                         "handler work held the loop for 1000 ms"));
}

TEST_F(KavoLoop, AFloodOfSlowRunsIsCountedAndNotWritten) {
    for (unsigned run = 0; run < KAVO_LOOP_LINES + 7; ++run)
        work_for(200ms);
    EXPECT_THAT(log.lines(), SizeIs(KAVO_LOOP_LINES));
    clock.advance(KAVO_LOOP_LINES_TIME);
    LogCapture::clear();
    work_for(300ms);
    EXPECT_THAT(log.lines(), ElementsAre("7 more handlers held the loop for more than 100 ms",
                                         "handler work held the loop for 300 ms"));
}

TEST_F(KavoLoop, HandlersAreListedByTheirLongestRun) {
    const kavo_loop_handler_t before = handler("work");
    const time_t began = ov_wall_time();
    work_for(2h, "something long");
    work_for(3ms, "something short");
    g_takes = 3h;
    kavo_add_event(frr_master(), other_work, nullptr, 0, nullptr);
    run_event();

    const kavo_loop_handler_t after = handler("work");
    EXPECT_EQ(after.runs, before.runs + 2);
    EXPECT_EQ(after.total, before.total + 2h + 3ms);
    EXPECT_EQ(after.longest, 2h);
    EXPECT_EQ(after.longest_at, began);
    EXPECT_EQ(after.doing, "something long");
    EXPECT_EQ(after.armed_at.substr(0, after.armed_at.find(':')), "kavo_loop_test.cpp");
    ASSERT_GE(kavo_loop_handlers().size(), 2u);
    EXPECT_EQ(kavo_loop_handlers()[0].name, "other_work");
    EXPECT_EQ(kavo_loop_handlers()[1].name, "work");
}

// The test's clock says how long it held the loop, the processor how much of that was work.
TEST_F(KavoLoop, WorkIsToldApartFromWaiting) {
    static const auto compute = [](struct thread*) {
        const std::clock_t end = std::clock() + CLOCKS_PER_SEC / 50;
        while (std::clock() < end) {
        }
    };
    const auto before = handler("compute");
    thread_add_event(frr_master(), compute, nullptr, 0, nullptr);
    run_event();
    const auto computed = handler("compute");
    EXPECT_EQ(computed.total, before.total);
    EXPECT_GE(computed.cpu_total, before.cpu_total + 10ms);
    EXPECT_GE(computed.cpu_longest, 10ms);

    const auto waited_before = handler("other_work");
    g_takes = 5h;
    kavo_add_event(frr_master(), other_work, nullptr, 0, nullptr);
    run_event();
    EXPECT_EQ(handler("other_work").longest, 5h);
    EXPECT_LT(handler("other_work").cpu_total - waited_before.cpu_total, 1h);
}

TEST_F(KavoLoop, ALibrarysHandlerHasItsOwnName) {
    static const auto library_work = [](struct thread*) { g_clock->take(150ms); };
    thread_add_event(frr_master(), library_work, nullptr, 0, nullptr);
    run_event();
    EXPECT_THAT(log.lines(), ElementsAre("handler library_work held the loop for 150 ms"));
}

} // namespace
