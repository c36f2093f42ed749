#include "refusal_text.h"

#include <gtest/gtest.h>

#include "shell_tree.h"

namespace {

std::string hint(enum node_type node, const std::string& line, int result = CMD_ERR_NO_MATCH) {
    return refusal_hint(test_tree(), node, line, result);
}

TEST(RefusalText, NumberOutOfRangeIsToldTheRange) {
    EXPECT_EQ(hint(GPON_ONU_NODE, "tcont 9 profile a"), "tcont: 1 to 6");
    EXPECT_EQ(hint(GPON_ONU_NODE, "tc 0 profile a"), "tc: 1 to 6");
    EXPECT_EQ(hint(IF_GPON_NODE, "onu 129 type a sn b"), "onu: 1 to 128");
    EXPECT_EQ(hint(GPON_NODE, "profile bandwidth x fixed 1"), "fixed: 250 to 800000");
}

TEST(RefusalText, CommandOfANodeAboveIsReadThere) {
    EXPECT_EQ(hint(GPON_ONU_NODE, "vlan 4095"), "vlan: 1 to 4094");
}

TEST(RefusalText, WordThatFitsNothingIsToldWhatDoes) {
    EXPECT_EQ(hint(IF_GPON_NODE, "onu 3 type a mac b"), "type a: loid, pw or sn");
    EXPECT_EQ(hint(GPON_ONU_NODE, "tcont x profile a"), "tcont: 1 to 6");
    EXPECT_EQ(hint(CONFIG_NODE, "vlan 5 more"), "vlan 5: the end of the line");
}

TEST(RefusalText, CommandOfAnotherModeIsToldTheWay) {
    EXPECT_EQ(hint(CONFIG_NODE, "profile bandwidth x fixed 1000"), "typed on gpon (gpon)");
    EXPECT_EQ(hint(CONFIG_NODE, "name x"),
              "typed on an ONU (interface gpon-onu1/1:1) or a service profile (onu-srvprofile ...)");
    EXPECT_EQ(hint(ENABLE_NODE, "vlan 5"), "typed on the configuration (configure terminal)");
    EXPECT_EQ(hint(GPON_ONU_NODE, "on 3 ty a sn b"), "typed on a PON port (interface gpon-olt1/1)");
    EXPECT_EQ(hint(CONFIG_NODE, "tcont 9 profile a"), ""); // wrong there, too
}

TEST(RefusalText, LineThatEndsTooEarlyIsToldWhatComes) {
    EXPECT_EQ(hint(GPON_ONU_NODE, "tcont", CMD_ERR_INCOMPLETE), "tcont: 1 to 6");
    EXPECT_EQ(hint(GPON_ONU_NODE, "tcont 1 ", CMD_ERR_INCOMPLETE), "tcont 1: profile");
}

TEST(RefusalText, NothingIsSaidOfOtherLines) {
    EXPECT_EQ(hint(GPON_ONU_NODE, "nonsense 3"), "");
    EXPECT_EQ(hint(GPON_ONU_NODE, ""), "");
    EXPECT_EQ(hint(GPON_ONU_NODE, "tcont 1 profile a"), "");
    EXPECT_EQ(hint(GPON_ONU_NODE, "tcont 9 profile a", CMD_WARNING), "");
}

TEST(RefusalText, SecondLineStandsBelowTheDaemonsText) {
    const auto second = [](const VtyReply& reply) {
        return refusal_second_line(test_tree(), GPON_ONU_NODE, "tcont 9 profile a", reply);
    };
    EXPECT_EQ(second({"%Failed\n", CMD_WARNING, "because (row)"}), "  because (row)\n");
    EXPECT_EQ(second({"%Failed", CMD_WARNING, "because"}), "\n  because\n");
    EXPECT_EQ(second({"", CMD_WARNING, "because"}), "  because\n");
    EXPECT_EQ(second({"% Unknown\n", CMD_ERR_NO_MATCH, ""}), "  tcont: 1 to 6\n");
    EXPECT_EQ(second({"%Failed\n", CMD_WARNING, ""}), "");
    EXPECT_EQ(second({"% Failed \n", CMD_WARNING, "Failed (row)"}), ""); // nothing new
    EXPECT_EQ(second({"%Failed\n", CMD_WARNING, "Failed it (row)"}), "  Failed it (row)\n");
}

} // namespace
