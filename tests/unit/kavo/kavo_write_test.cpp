#include "frr_fixture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace {

/// What the writers saw and did, in the order of their calls.
struct Seen {
    int cfg_node, flag;
    std::string info;
};
std::vector<Seen> seen;

void note(struct vty* vty) {
    seen.push_back({vty->cfg_node, vty->write_term_flag, vty->write_term_info});
}

int write_gpon(struct vty* vty) {
    note(vty);
    vty_out(vty, "gpon%s", vty->type == vty::VTY_TERM ? "\r\n" : "\n");
    return 1;
}

int write_pon(struct vty* vty) {
    note(vty);
    vty_out(vty, "interface gpon-olt1/1\n");
    return 1;
}

int write_nothing(struct vty* vty) {
    note(vty);
    return 0;
}

int write_slowly(struct vty* vty) {
    note(vty);
    usleep(1'100'000);
    return 0;
}

void head_of_current(struct vty* vty, char* head, size_t size) {
    snprintf(head, size, "interface gpon-onu1/1:%d",
             static_cast<int>(reinterpret_cast<uintptr_t>(vty->index)));
}

class KavoWrite : public testing::Test {
protected:
    KavoWrite() {
        // not in the order of their numbers
        frr_install_node(GPON_ONU_NODE, write_nothing);
        frr_install_node(IF_GPON_NODE, write_pon);
        frr_install_node(GPON_NODE, write_gpon);
        seen.clear();
    }
    ~KavoWrite() override {
        cmd_write_current_head = nullptr;
        for (auto node : {GPON_ONU_NODE, IF_GPON_NODE, GPON_NODE})
            frr_install_node(node, nullptr);
    }

    static std::vector<int> nodes_seen() {
        std::vector<int> nodes(seen.size());
        std::transform(seen.begin(), seen.end(), nodes.begin(), [](const Seen& s) { return s.cfg_node; });
        return nodes;
    }
};

using Nodes = std::vector<int>;

TEST_F(KavoWrite, WriteTerminalCallsTheWritersInNodeOrderWithFlagOne) {
    FrrSession session(ENABLE_NODE);
    EXPECT_EQ(session.run("write terminal"), CMD_SUCCESS);
    EXPECT_EQ(nodes_seen(), (Nodes{GPON_NODE, IF_GPON_NODE, GPON_ONU_NODE}));
    for (const auto& s : seen)
        EXPECT_EQ(s.flag, 1);
}

TEST_F(KavoWrite, BlockThatWroteIsClosedAndOneThatDidNotIsNot) {
    FrrSession session(ENABLE_NODE);
    session.run("write terminal");
    const auto text = session.output();
    // GPON_ONU_NODE comes last and wrote nothing; the library's own settings aren't part of it
    EXPECT_EQ(text, "gpon\n!\ninterface gpon-olt1/1\n!\n");
}

TEST_F(KavoWrite, OutputHoldsNoLineThatIsNoCommand) {
    FrrSession session(ENABLE_NODE);
    session.run("write terminal");
    const auto text = session.output();
    EXPECT_EQ(text.find("frr"), std::string::npos) << text;
    EXPECT_EQ(text.find("Current configuration"), std::string::npos) << text;
}

TEST_F(KavoWrite, WriteFileGivesEverythingToTheAskingShellWithFlagZero) {
    FrrSession session(CONFIG_NODE);
    session.vty->write_term_flag = 3;
    EXPECT_EQ(session.run("write file"), CMD_SUCCESS);
    EXPECT_EQ(nodes_seen(), (Nodes{GPON_NODE, IF_GPON_NODE, GPON_ONU_NODE}));
    for (const auto& s : seen)
        EXPECT_EQ(s.flag, 0);
    EXPECT_NE(session.output().find("gpon\n!\n"), std::string::npos);
}

TEST_F(KavoWrite, WriteTerminalCurrentCallsOnlyTheWriterOfTheNode) {
    FrrSession session(IF_GPON_NODE);
    EXPECT_EQ(session.run("write terminal current"), CMD_SUCCESS);
    EXPECT_EQ(nodes_seen(), (Nodes{IF_GPON_NODE}));
    EXPECT_EQ(seen[0].flag, 2);
    EXPECT_EQ(session.output(), "interface gpon-olt1/1\n!\n");
}

TEST_F(KavoWrite, WriteTerminalCurrentTellsTheWriterTheHeadLineOfTheObject) {
    cmd_write_current_head = head_of_current;
    FrrSession session(GPON_ONU_NODE);
    session.vty->index = reinterpret_cast<void*>(uintptr_t{17});
    EXPECT_EQ(session.run("write terminal current"), CMD_SUCCESS);
    ASSERT_EQ(nodes_seen(), (Nodes{GPON_ONU_NODE}));
    EXPECT_EQ(seen[0].info, "interface gpon-onu1/1:17");
    EXPECT_EQ(session.output(), "");
}

TEST_F(KavoWrite, WriteTerminalCurrentOnANodeWithoutWriterPrintsNothing) {
    FrrSession session(ENABLE_NODE);
    EXPECT_EQ(session.run("write terminal current"), CMD_SUCCESS);
    EXPECT_EQ(session.output(), "");
    EXPECT_TRUE(seen.empty());
}

TEST_F(KavoWrite, WriteTerminalInterfaceTellsTheWritersTheHeadLine) {
    FrrSession session(GPON_NODE);
    EXPECT_EQ(session.run("write terminal interface gpon-onu1/2:3"), CMD_SUCCESS);
    EXPECT_EQ(nodes_seen(), (Nodes{GPON_NODE, IF_GPON_NODE, GPON_ONU_NODE}));
    for (const auto& s : seen) {
        EXPECT_EQ(s.flag, 3);
        EXPECT_EQ(s.info, "interface gpon-onu1/2:3");
    }
    // and none of the library's own settings
    EXPECT_EQ(session.output(), "gpon\n!\ninterface gpon-olt1/1\n!\n");
}

TEST_F(KavoWrite, OverlongInterfaceNameIsCutToTheFieldOfTheSession) {
    FrrSession session(ENABLE_NODE);
    EXPECT_EQ(session.run("write terminal interface " + std::string(300, 'x')), CMD_SUCCESS);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen[0].info, "interface " + std::string(89, 'x'));
}

TEST_F(KavoWrite, FormsStandOnEnableConfigAndTheDaemonsNodes) {
    for (int node : {static_cast<int>(ENABLE_NODE), static_cast<int>(CONFIG_NODE),
                     static_cast<int>(GPON_NODE), static_cast<int>(GPON_ONU_NODE)}) {
        for (const char* form : {"write terminal", "write file", "write terminal current",
                                 "write terminal interface gpon-olt1/1"}) {
            FrrSession session(node);
            EXPECT_EQ(session.run(form), CMD_SUCCESS) << form << " on node " << node;
        }
    }
}

TEST_F(KavoWrite, TerminalGetsCarriageReturnsOnce) {
    FrrSession session(GPON_NODE, true);
    session.run("write terminal current");
    EXPECT_EQ(session.output(), "gpon\r\n!\r\n");
}

TEST_F(KavoWrite, SlowWriterIsLogged) {
    frr_install_node(GPON_NODE, write_slowly);
    FrrSession session(GPON_NODE);
    testing::internal::CaptureStderr();
    session.run("write terminal current");
    const auto log = testing::internal::GetCapturedStderr();
    float spent = 0;
    const auto at = log.find("node 40 write terminal spend ");
    ASSERT_NE(at, std::string::npos) << log;
    ASSERT_EQ(sscanf(log.c_str() + at, "node 40 write terminal spend %f ms", &spent), 1) << log;
    EXPECT_GT(spent, 1000.0f);
    EXPECT_LT(spent, 10000.0f);
}

} // namespace
