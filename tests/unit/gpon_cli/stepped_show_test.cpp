// Shows that go on in steps.
#include "onu_fixture.h"

#include "../kavo/frr_shell.h"

namespace {

class SteppedShow : public OnuCli {
protected:
    static constexpr int PORTS = 10;

    SteppedShow() {
        for (int port = 1; port <= PORTS; port++)
            for (int onu = 1; onu <= 128; onu++) {
                set(add_onu(1, port, onu).sOnuTableOnuName, "house");
                active(sOnuHistoryTable_createEntry(1, 1, port, onu));
                active(sOnuInitTable_createEntry(1, 1, port, onu));
            }
    }

    // What a session without a connection prints, which has it all at once.
    static std::string at_once(const std::string& line) {
        FrrSession session(ENABLE_NODE);
        EXPECT_EQ(session.run(line), CMD_SUCCESS);
        return session.output();
    }
    static void remove_onus_of(int port) {
        ov_sOnuTable_attr_t key = {};
        for (int onu = 1; onu <= 128; onu++) {
            table_of<ov_sOnuTable_attr_t>::module().set_index_at(&key, 1, 1, port, onu);
            sOnuTable_removeEntry(&key);
        }
    }
};

CLI_TEST(SteppedShow, PassesOverOnusThatWaitUnlessTheReasonIsAskedFor) {
    for (int onu = 1; onu <= 128; onu++) {
        ov_sOnuTable_attr_t key = {};
        table_of<ov_sOnuTable_attr_t>::module().set_index_at(&key, 1, 1, 1, onu);
        const_cast<ov_sOnuTable_attr_t*>(find_stored_row(key))->sOnuTableRowStatus = OVRA_NOTINSERVICE;
    }
    const std::string shown = at_once("show onu status");
    EXPECT_EQ(shown.find("1/1:"), std::string::npos);
    EXPECT_NE(shown.find("1/2:1 "), std::string::npos);
    EXPECT_NE(shown.find("total " + std::to_string((PORTS - 1) * 128)), std::string::npos);
    const std::string reasons = at_once("show onu reason");
    EXPECT_NE(reasons.find("1/1:1      row not active"), std::string::npos);
    EXPECT_NE(reasons.find("total " + std::to_string(PORTS * 128)), std::string::npos);
}

CLI_TEST(SteppedShow, PrintsWhatItWouldAtOnce) {
    FrrShell shell;
    for (const char* line : {"show onu status", "show onu reason", "show onu history", "show onu unconfig",
                             "show onu filter name HOUSE", "show onu status | include 1/1:1"})
        EXPECT_EQ(shell.ask(line), (std::vector<std::string>{"0:" + at_once(line)})) << line;
    EXPECT_TRUE(at_once("show onu status").ends_with("\ntotal 1280\n"));
}

CLI_TEST(SteppedShow, AnotherOperatorIsAnsweredBetweenTheSteps) {
    for (const char* line : {"show onu status", "show onu reason", "show onu history", "show onu unconfig",
                             "show onu filter name nobody | include total"}) {
        FrrShell shell, other;
        shell.send_lines({line});
        const bool has_output_at_once = std::string(line).find('|') == std::string::npos;
        EXPECT_FALSE(has_output_at_once && shell.has_begun_and_is_whole()) << line;
        EXPECT_EQ(other.ask("enable"), (std::vector<std::string>{"0:"}));
        EXPECT_FALSE(has_output_at_once && shell.has_begun_and_is_whole()) << line;
        EXPECT_EQ(shell.answers(1), (std::vector<std::string>{"0:" + at_once(line)})) << line;
    }
}

CLI_TEST(SteppedShow, OnusMayGoAndComeBetweenTheSteps) {
    FrrShell shell;
    shell.send_lines({"show onu status"});
    EXPECT_FALSE(shell.has_begun_and_is_whole());
    remove_onus_of(1);
    remove_onus_of(9);
    add_onu(1, 11, 1);
    const std::string text = shell.answers(1).at(0);
    EXPECT_THAT(text, testing::HasSubstr("\n1/1:1 "));
    EXPECT_THAT(text, testing::HasSubstr("\n1/8:128 "));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("\n1/9:")));
    EXPECT_THAT(text, testing::HasSubstr("\n1/10:1 "));
    EXPECT_THAT(text, testing::HasSubstr("\n1/11:1 "));
    EXPECT_THAT(text, testing::EndsWith("\ntotal 1153\n"));
}

CLI_TEST(SteppedShow, ItEndsWhereTheRowsOfAPortEnd) {
    FrrShell shell;
    for (const char* port : {"gpon-olt1/2", "gpon-olt14/16"}) {
        add_interface(port);
        const std::string line = std::string("show interface ") + port + " onu status";
        EXPECT_EQ(shell.ask(line), (std::vector<std::string>{"0:" + at_once(line)}));
    }
    EXPECT_TRUE(at_once("show interface gpon-olt1/2 onu status").ends_with("\ntotal 128\n"));
    EXPECT_TRUE(at_once("show interface gpon-olt14/16 onu status").ends_with("\ntotal 0\n"));
}

CLI_TEST(SteppedShow, AClosedSessionEndsIt) {
    FrrShell other;
    {
        FrrShell shell;
        shell.send_lines({"show onu status"});
        EXPECT_FALSE(shell.has_begun_and_is_whole());
        close(std::exchange(shell.fd, -1));
    }
    FrrShell next; // may lie where the closed one lay
    EXPECT_EQ(next.ask("enable"), (std::vector<std::string>{"0:"}));
    EXPECT_EQ(next.ask("show onu history"), (std::vector<std::string>{"0:" + at_once("show onu history")}));
}

} // namespace
