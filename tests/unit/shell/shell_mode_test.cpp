#include <gmock/gmock.h>

#include "shell_tree.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A mode that is in enable mode, and then had these lines answered with success.
ShellMode mode_after(const std::vector<std::string>& lines, Understand understand = test_understand) {
    ShellMode mode(std::move(understand));
    mode.answered("enable", 0);
    for (const auto& line : lines)
        mode.answered(line, 0);
    return mode;
}

TEST(ShellMode, PromptTellsTheNode) {
    EXPECT_EQ(ShellMode(test_understand).prompt(), "gpon> ");
    EXPECT_EQ(mode_after({}).prompt(), "gpon# ");
    EXPECT_EQ(mode_after({"disable"}).prompt(), "gpon> ");
    EXPECT_EQ(mode_after({"conf t"}).prompt(), "gpon(config)# ");
    EXPECT_EQ(mode_after({"conf t", "gpon"}).prompt(), "gpon(gpon)# ");
    EXPECT_EQ(mode_after({"conf t", "vlan 7"}).prompt(), "gpon(vlan 7)# ");
    EXPECT_EQ(mode_after({"conf t", "gpon", "onu-srv profile-id 3 onu-type A"}).prompt(),
              "gpon(onu-srvprofile 3)# ");
}

TEST(ShellMode, PromptNamesTheInterfaceInFull) {
    const std::pair<const char*, const char*> names[] = {
        {"gpon-olt1/1", "gpon-olt1/1"}, {"gp1/1", "gpon-olt1/1"}, {"gpon-onu1/1:1", "gpon-onu1/1:1"},
        {"gp1/2:3", "gpon-onu1/2:3"},   {"trunk1", "trunk1"},     {"ge1/1", "ge1/1"},
    };
    for (const auto& [typed, full] : names)
        EXPECT_EQ(mode_after({"conf t", std::string("int ") + typed}).prompt(),
                  std::string("gpon(") + full + ")# ");
}

TEST(ShellMode, NodeOfAnInterfaceIsThatOfItsKind) {
    EXPECT_EQ(mode_after({"conf t", "interface gpon-olt1/1"}).node(), IF_GPON_NODE);
    EXPECT_EQ(mode_after({"conf t", "interface gpon-onu1/1:1"}).node(), GPON_ONU_NODE);
    EXPECT_EQ(mode_after({"conf t", "interface trunk2"}).node(), IF_TRUNK_NODE);
    EXPECT_EQ(mode_after({"conf t", "interface xe1/1"}).node(), IF_NODE);
}

TEST(ShellMode, VlanInterfaceIsNotEntered) {
    EXPECT_EQ(mode_after({"conf t", "interface vlanif5"}).node(), CONFIG_NODE);
    EXPECT_FALSE(mode_after({"conf t"}).enters_block("interface vlanif5"));
}

TEST(ShellMode, RefusedLineLeavesTheMode) {
    auto mode = mode_after({"conf t"});
    mode.answered("interface gpon-olt9/9", CMD_WARNING);
    mode.answered("gpon now", CMD_ERR_NO_MATCH);
    EXPECT_EQ(mode.prompt(), "gpon(config)# ");
}

TEST(ShellMode, CommandOfANodeAboveStaysUnlessItEntersANode) {
    auto mode = mode_after({"conf t", "interface gpon-olt1/1"});
    mode.answered("debug everything", CMD_WARNING);
    EXPECT_EQ(mode.node(), IF_GPON_NODE);
    mode.answered("debug everything", 0);
    EXPECT_EQ(mode.node(), IF_GPON_NODE);
    mode.answered("vlan 5", 0);
    EXPECT_EQ(mode.prompt(), "gpon(vlan 5)# ");
    EXPECT_EQ(mode.depth(), 3u);
}

TEST(ShellMode, CommandOfTheNodeItselfStaysThere) {
    EXPECT_EQ(mode_after({"conf t", "interface gpon-olt1/1", "fec downstream enable"}).node(), IF_GPON_NODE);
}

TEST(ShellMode, OneObjectLeadsStraightToTheNext) {
    const auto mode = mode_after({"conf t", "interface gpon-olt1/1", "interface gpon-onu1/1:2"});
    EXPECT_EQ(mode.prompt(), "gpon(gpon-onu1/1:2)# ");
    EXPECT_EQ(mode.depth(), 3u);
}

TEST(ShellMode, ExitGoesUpOneNode) {
    auto mode = mode_after({"conf t", "gpon", "onu-srvprofile profile-id 1 onu-type A"});
    for (const auto* prompt : {"gpon(gpon)# ", "gpon(config)# ", "gpon# "}) {
        mode.answered("exit", 0);
        EXPECT_EQ(mode.prompt(), prompt);
        EXPECT_FALSE(mode.over());
    }
    mode.answered("quit", 0);
    EXPECT_TRUE(mode.over());
}

TEST(ShellMode, ShortFormThatMeansMoreThanExitDoesNotLeave) {
    EXPECT_TRUE(mode_after({"conf t"}).leaves("exi"));
    EXPECT_FALSE(mode_after({"conf t"}).leaves("e"));
    EXPECT_TRUE(mode_after({"configure terminal"}, {}).leaves("ex")); // nothing is known: as the words say
}

TEST(ShellMode, EndGoesToEnableMode) {
    EXPECT_EQ(mode_after({"conf t", "gpon", "onu-srvprofile profile-id 1 onu-type A", "end"}).prompt(),
              "gpon# ");
}

TEST(ShellMode, LineBehindDoDoesNotMove) {
    EXPECT_EQ(mode_after({"conf t", "gpon", "do show onu status"}).node(), GPON_NODE);
    EXPECT_EQ(mode_after({"conf t", "gpon", "do disable"}).node(), GPON_NODE);
}

TEST(ShellMode, CommentsDoNotMove) {
    EXPECT_EQ(mode_after({"conf t", "gpon", "!", "# exit", ""}).node(), GPON_NODE);
}

TEST(ShellMode, WayHereLeadsANewSessionHere) {
    EXPECT_THAT(ShellMode(test_understand).way_here(), IsEmpty());
    EXPECT_THAT(
        mode_after({"conf t", "gp", "onu-s profile-id 1 onu-type A"}).way_here(),
        ElementsAre("enable", "configure terminal", "gpon", "onu-srvprofile profile-id 1 onu-type A"));
    EXPECT_THAT(mode_after({"conf t", "gpon", "interface gpon-olt1/1"}).way_here(),
                ElementsAre("enable", "configure terminal", "interface gpon-olt1/1"));
}

TEST(ShellMode, LinesThatMayMoveAreKnown) {
    const auto mode = mode_after({"conf t", "interface gpon-olt1/1"});
    for (const auto* line : {"interface gpon-olt1/2", "exit", "end", "vlan 5", "unheard-of"})
        EXPECT_TRUE(mode.may_move(line)) << line;
    for (const auto* line : {"fec downstream enable", "onu 1 type A sn B", "debug everything", "!", ""})
        EXPECT_FALSE(mode.may_move(line)) << line;
}

TEST(ShellMode, BlocksAreEnteredFromEnableModeToo) {
    for (const auto* line : {"int gp1/1", "gpon", "vlan 3", "onu-srvprofile profile-id 1 onu-type A"})
        EXPECT_TRUE(mode_after({}).enters_block(line)) << line;
    for (const auto* line : {"configure terminal", "show onu status", "exit", "unheard-of", "vlan x"})
        EXPECT_FALSE(mode_after({}).enters_block(line)) << line;
}

TEST(ShellMode, DaemonThatKnowsMoreIsFollowedByTheWordsTyped) {
    const auto mode = mode_after({"configure terminal", "interface gpon-olt1/1"}, {});
    EXPECT_EQ(mode.prompt(), "gpon(gpon-olt1/1)# ");
    EXPECT_EQ(mode_after({"configure terminal", "brand-new thing"}).node(), CONFIG_NODE);
}

} // namespace
