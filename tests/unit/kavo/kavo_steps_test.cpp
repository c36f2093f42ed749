// Commands of shells that go on in steps.
#include "frr_shell.h"

#include <utility>

namespace {

std::vector<std::string> order; // of what happened
unsigned steps = 0;
int hang_up = -1; // a shell's end, closed in the next step

// "line 0" to "line 4", one in each step.
constexpr uint32_t LINES = 5;
int write_lines(struct vty* vty) {
    EXPECT_EQ(vty->write_term_more, vty->write_term_at[0] != 0);
    order.push_back("step " + std::to_string(vty->write_term_at[0]));
    vty_out(vty, "line %u\n", vty->write_term_at[0]++);
    vty->write_term_more = vty->write_term_at[0] < LINES;
    return 1;
}

void note_event(struct thread* /*event*/) {
    order.emplace_back("event");
}

int write_lines_and_arm_events(struct vty* vty) {
    const int lines = write_lines(vty);
    thread_add_event(frr_master(), note_event, nullptr, 0, nullptr);
    return lines;
}

// Prints in its third step only.
int write_late(struct vty* vty) {
    vty->write_term_more = ++vty->write_term_at[0] < 4;
    if (vty->write_term_at[0] != 3)
        return 0;
    vty_out(vty, "late\n");
    return 1;
}

int write_nothing_in_steps(struct vty* vty) {
    vty->write_term_more = ++vty->write_term_at[0] < 4;
    return 0;
}

int write_slow_steps(struct vty* vty) {
    usleep(300'000);
    vty->write_term_more = ++vty->write_term_at[0] < 4;
    return 0;
}

int write_without_end(struct vty* vty) {
    steps++;
    if (hang_up >= 0)
        close(std::exchange(hang_up, -1));
    vty_out(vty, "%s\n", std::string(10'000, 'x').c_str());
    vty->write_term_more = true;
    return 1;
}

using Answers = std::vector<std::string>;
const std::string ALL_LINES = "line 0\nline 1\nline 2\nline 3\nline 4\n!\n";

class KavoSteps : public testing::Test {
protected:
    KavoSteps() {
        for (auto node : {GPON_ONU_NODE, IF_GPON_NODE, GPON_NODE})
            frr_install_node(node, nullptr);
        order.clear();
        steps = 0;
    }
    ~KavoSteps() override {
        for (auto node : {GPON_ONU_NODE, IF_GPON_NODE, GPON_NODE})
            frr_install_node(node, nullptr);
    }
};

TEST_F(KavoSteps, TheLoopServesOthersBetweenThem) {
    frr_install_node(GPON_NODE, write_lines_and_arm_events);
    FrrShell shell;
    EXPECT_EQ(shell.ask("write terminal"), (Answers{"0:" + ALL_LINES}));
    order.resize(9);
    EXPECT_EQ(order, (std::vector<std::string>{"step 0", "event", "step 1", "event", "step 2", "event",
                                               "step 3", "event", "step 4"}));
}

TEST_F(KavoSteps, CommandsBehindWaitAndNoneIsLost) {
    frr_install_node(GPON_NODE, write_lines);
    frr_install_node(IF_GPON_NODE, write_lines);
    FrrShell shell;
    shell.send_lines({"write terminal", "no such", "write file", "configure terminal", "write terminal"});
    const std::string both = "0:" + ALL_LINES + ALL_LINES;
    const auto got = shell.answers(5);
    ASSERT_EQ(got.size(), 5U);
    EXPECT_EQ(got[0], both);
    EXPECT_EQ(got[1].substr(0, 2), "2:");
    EXPECT_EQ(got[2], both);
    EXPECT_EQ(got[3], "0:");
    EXPECT_EQ(got[4], both);
}

TEST_F(KavoSteps, AFilterHoldsForAllOfThemAndNoLonger) {
    frr_install_node(GPON_NODE, write_lines);
    FrrShell shell;
    EXPECT_EQ(shell.ask("write terminal | include [03]"), (Answers{"0:line 0\nline 3\n"}));
    EXPECT_EQ(shell.ask("write terminal"), (Answers{"0:" + ALL_LINES}));
}

TEST_F(KavoSteps, ShellsTakeTheirsSideBySide) {
    frr_install_node(GPON_NODE, write_lines);
    FrrShell one, other;
    one.send_lines({"write terminal"});
    other.send_lines({"write terminal"});
    EXPECT_EQ(one.answers(1), (Answers{"0:" + ALL_LINES}));
    EXPECT_EQ(other.answers(1), (Answers{"0:" + ALL_LINES}));
}

TEST_F(KavoSteps, AShellThatDoesNotReadGetsNoFurther) {
    frr_install_node(GPON_NODE, write_without_end);
    FrrShell shell, other;
    shell.send_lines({"write terminal"});
    unsigned before = 0, rounds = 0;
    do {
        before = steps;
        for (int i = 0; i < 10; i++)
            EXPECT_EQ(other.ask("enable"), (Answers{"0:"}));
    } while ((steps == 0 || steps != before) && ++rounds < 10'000);
    EXPECT_EQ(steps, before);
}

TEST_F(KavoSteps, AShellThatGoesEndsThem) {
    frr_install_node(GPON_NODE, write_without_end);
    FrrShell other;
    for (const char* line : {"write terminal", "write terminal | include x"}) {
        FrrShell shell;
        steps = 0;
        shell.send_lines({line});
        hang_up = std::exchange(shell.fd, -1);
        EXPECT_TRUE(frr_run_until([] { return hang_up < 0; }));
        for (int i = 0; i < 10; i++)
            other.ask("enable");
        const unsigned before = steps;
        for (int i = 0; i < 10; i++)
            other.ask("enable");
        EXPECT_EQ(steps, before) << line;
    }
}

TEST_F(KavoSteps, ASessionWithoutAConnectionHasThemAtOnce) {
    frr_install_node(GPON_NODE, write_lines);
    FrrSession session(ENABLE_NODE);
    EXPECT_EQ(session.run("write terminal"), CMD_SUCCESS);
    EXPECT_EQ(session.output(), ALL_LINES);
    EXPECT_EQ(session.run("write terminal | include 4"), CMD_SUCCESS);
    EXPECT_EQ(session.output(), "line 4\n");
}

TEST_F(KavoSteps, ABlockIsClosedOnceIfAnyStepPrinted) {
    frr_install_node(GPON_NODE, write_late);
    frr_install_node(IF_GPON_NODE, write_nothing_in_steps);
    frr_install_node(GPON_ONU_NODE, write_late);
    FrrSession session(ENABLE_NODE);
    EXPECT_EQ(session.run("write terminal"), CMD_SUCCESS);
    EXPECT_EQ(session.output(), "late\n!\nlate\n!\n");
}

TEST_F(KavoSteps, AWriterThatIsSlowInAllIsLoggedOnce) {
    frr_install_node(GPON_NODE, write_slow_steps);
    FrrSession session(GPON_NODE);
    testing::internal::CaptureStderr();
    session.run("write terminal current");
    const auto log = testing::internal::GetCapturedStderr();
    const auto at = log.find("node 40 write terminal spend ");
    ASSERT_NE(at, std::string::npos) << log;
    EXPECT_EQ(log.find("write terminal spend", at + 20), std::string::npos) << log;
}

} // namespace
