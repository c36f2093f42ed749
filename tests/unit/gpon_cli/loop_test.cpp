// A look at who held up the event loop.
#include "cli_fixture.h"

#include "../kavo/frr_shell.h"
#include "../support/test_clock.h"
#include "kavo_loop.h"
#include "ov_local_time.h"

using testing::ContainsRegex;

namespace {

TestClock* g_clock = nullptr;

void hold_the_loop(struct thread* /*event*/) {
    g_clock->take(std::chrono::milliseconds(1234));
}

class Loop : public Cli {
protected:
    Loop() {
        g_clock = &clock;
        struct thread event;
        thread_add_event(frr_master(), hold_the_loop, nullptr, 0, nullptr);
        EXPECT_NE(thread_fetch(frr_master(), &event), nullptr);
        kavo_loop_call(&event);
    }
    static std::string shown(const char* command) {
        FrrSession session(VIEW_NODE);
        EXPECT_EQ(session.run(command), CMD_SUCCESS);
        return session.output();
    }

    TestClock clock;
};

CLI_TEST(Loop, TheHandlerThatHeldItIsShownWithItsTimes) {
    const std::string when = ov_local_time_text(TestClock::START);
    const std::string text = shown("show loop");
    EXPECT_THAT(text,
                ContainsRegex(
                    "^handler +runs +total us +cpu us +longest us +longest cpu us +when +armed at +doing\n"));
    EXPECT_THAT(text, ContainsRegex("\nhold_the_loop +1 +1234000 +[0-9]+ +1234000 +[0-9]+  " + when +
                                    "  loop_test.cpp:[0-9]+\n"));
    EXPECT_THAT(text, ContainsRegex("[1-9][0-9]* runs held the loop for more than 100 ms\n"));
}

CLI_TEST(Loop, AProgramGetsAnObjectForEachHandler) {
    EXPECT_THAT(
        shown("json show loop"),
        ContainsRegex(R"(\{"handler":"hold_the_loop","runs":[0-9]+,"total_us":[0-9]+,"cpu_us":[0-9]+,)"
                      R"("longest_us":1234000,"longest_cpu_us":[0-9]+,"when":"[-0-9: ]+","armed_at":"[^"]+",)"
                      R"("doing":null\})"));
}

} // namespace
