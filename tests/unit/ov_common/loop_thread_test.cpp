#include "ov_loop_thread.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

#include "../support/log_capture.h"
#include "../support/on_loop.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

void guarded() {
    ov_assert_on_loop();
}
void guarded_too() {
    ov_assert_on_loop();
}

std::vector<std::string> intruders;

class LoopThread : public testing::Test {
protected:
    LoopThread() { intruders.clear(); }
    ~LoopThread() override { AnyThread::fail_on_intruders(); }

    static void elsewhere(void (*what)()) { std::thread(what).join(); }

    LogCapture log;
};

TEST_F(LoopThread, FindsACallOnAnotherThread) {
    ov_loop_set_intruder_handler([](const char* function) { intruders.emplace_back(function); });
    guarded();
    EXPECT_THAT(intruders, IsEmpty());
    elsewhere(guarded);
    elsewhere(guarded);
    EXPECT_THAT(intruders, ElementsAre("guarded", "guarded"));
}

TEST_F(LoopThread, TheDaemonIsToldOnceForEachPlace) {
    ov_loop_set_intruder_handler(nullptr);
    elsewhere(guarded);
    elsewhere(guarded);
    elsewhere(guarded_too);
    guarded();
    EXPECT_THAT(log.lines(), ElementsAre("guarded isn't on the event loop's thread",
                                         "guarded_too isn't on the event loop's thread"));
}

TEST_F(LoopThread, IsThatWhichSaidSoLast) {
    EXPECT_TRUE(ov_is_on_loop());
    elsewhere(ov_loop_thread_set);
    EXPECT_FALSE(ov_is_on_loop());
    ov_loop_thread_set();
    EXPECT_TRUE(ov_is_on_loop());
}

} // namespace
