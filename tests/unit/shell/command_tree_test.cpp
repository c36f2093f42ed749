#include <gmock/gmock.h>

#include "shell_tree.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using Words = std::vector<std::string>;

Words words_of(const std::vector<CommandHelp>& lines) {
    Words words;
    for (const auto& line : lines)
        words.push_back(line.word);
    return words;
}

TEST(CommandTree, ShortKeywordsAreGivenInFull) {
    const auto line = test_understand(IF_GPON_NODE, " fec  down e ");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->node, IF_GPON_NODE);
    EXPECT_THAT(line->words, ElementsAre("fec", "downstream", "enable"));
}

TEST(CommandTree, VariableWordsStayAsTyped) {
    EXPECT_THAT(test_understand(CONFIG_NODE, "int gp1/1")->words, ElementsAre("interface", "gp1/1"));
    EXPECT_THAT(test_understand(CONFIG_NODE, "vlan 0100")->words, ElementsAre("vlan", "0100"));
}

TEST(CommandTree, CommandOfANodeAboveIsFoundThere) {
    EXPECT_EQ(test_understand(GPON_ONU_NODE, "vlan 5")->node, CONFIG_NODE);
    EXPECT_EQ(test_understand(ONU_SRV_PROFILE_NODE, "profile bandwidth a fixed 250")->node, GPON_NODE);
    EXPECT_EQ(test_understand(ONU_SRV_PROFILE_NODE, "vlan 5")->node, CONFIG_NODE);
}

TEST(CommandTree, CommandOfEnableModeIsNotFoundFromBelow) {
    EXPECT_TRUE(test_understand(ENABLE_NODE, "show onu status"));
    EXPECT_FALSE(test_understand(GPON_ONU_NODE, "show onu status"));
    EXPECT_TRUE(test_understand(GPON_ONU_NODE, "do show onu status"));
}

TEST(CommandTree, LinesThatTheDaemonWouldRefuseAreNotUnderstood) {
    for (const auto* line : {"fec", "fec downstream", "fec downstream x", "onu 129 type A sn B", "o 1",
                             "nonsense", "fec downstream enable now"})
        EXPECT_FALSE(test_understand(IF_GPON_NODE, line)) << line;
}

TEST(CommandTree, CommentsAndEmptyLinesHaveNoWords) {
    for (const auto* line : {"", "   ", "!", "! fec downstream enable", "# x"})
        EXPECT_THAT(test_understand(IF_GPON_NODE, line)->words, IsEmpty()) << line;
}

TEST(CommandTree, CommandsOfTheLibraryAreKnown) {
    EXPECT_THAT(test_understand(ENABLE_NODE, "conf t")->words, ElementsAre("configure", "terminal"));
    EXPECT_TRUE(test_understand(ENABLE_NODE, "terminal length 0"));
    EXPECT_TRUE(test_understand(ENABLE_NODE, "write terminal interface gpon-olt1/1"));
    EXPECT_TRUE(test_understand(IF_GPON_NODE, "end"));
}

TEST(CommandTree, CommandsOfTheLibraryThatMeanNothingHereAreNotKnown) {
    for (const auto* line : {"show startup-config", "show logging", "who", "logmsg errors x",
                             "terminal monitor", "debug vrf", "copy startup-config running-config"})
        EXPECT_FALSE(test_understand(ENABLE_NODE, line)) << line;
    for (const auto* line : {"hostname x", "enable password x", "banner motd default", "log stdout",
                             "line vty", "service terminal-length 5"})
        EXPECT_FALSE(test_understand(CONFIG_NODE, line)) << line;
    EXPECT_FALSE(test_understand(VIEW_NODE, "show history"));
}

TEST(CommandTree, SavingIsTheShellsOwnInEveryMode) {
    for (const auto node : {ENABLE_NODE, CONFIG_NODE, VLAN_NODE, GPON_NODE, ONU_SRV_PROFILE_NODE,
                            IF_TRUNK_NODE, IF_NODE, IF_GPON_NODE, QINQ_NODE, GPON_ONU_NODE}) {
        EXPECT_TRUE(test_understand(node, "wr mem"));
        EXPECT_THAT(test_tree().complete(node, "write "), Contains("memory"));
    }
    EXPECT_TRUE(test_understand(ENABLE_NODE, "copy run start"));
    EXPECT_FALSE(test_understand(VIEW_NODE, "write memory"));
}

TEST(CommandTree, EveryFormOfWriteThatPrintsIsKnown) {
    for (const auto* line :
         {"write", "write file", "write terminal", "write terminal current", "wr t i gp1/1"})
        EXPECT_TRUE(test_understand(IF_GPON_NODE, line)) << line;
}

TEST(CommandTree, EveryNodeCanBeLeft) {
    for (const auto node : {VLAN_NODE, GPON_NODE, ONU_SRV_PROFILE_NODE, IF_TRUNK_NODE, IF_NODE, IF_GPON_NODE,
                            QINQ_NODE, GPON_ONU_NODE}) {
        EXPECT_EQ(test_understand(node, "exit")->node, node);
        EXPECT_EQ(test_understand(node, "end")->node, node);
    }
}

TEST(CommandTree, KeywordIsCompleted) {
    EXPECT_THAT(test_tree().complete(IF_GPON_NODE, "fe"), ElementsAre("fec"));
    EXPECT_THAT(test_tree().complete(IF_GPON_NODE, "fec "), ElementsAre("downstream"));
    EXPECT_THAT(test_tree().complete(IF_GPON_NODE, "fec downstream "), ElementsAre("disable", "enable"));
    EXPECT_THAT(test_tree().complete(IF_GPON_NODE, "fec downstream e"), ElementsAre("enable"));
    EXPECT_THAT(test_tree().complete(IF_GPON_NODE, "on"), ElementsAre("onu", "onu-auto-flow"));
}

TEST(CommandTree, CompletionKnowsShortFormsBeforeTheWord) {
    EXPECT_THAT(test_tree().complete(IF_GPON_NODE, "fe d e"), ElementsAre("enable"));
}

TEST(CommandTree, VariableWordsAreNotCompleted) {
    EXPECT_THAT(test_tree().complete(CONFIG_NODE, "interface "), IsEmpty());
    EXPECT_THAT(test_tree().complete(CONFIG_NODE, "interface gpon"), IsEmpty());
}

TEST(CommandTree, WordThatOnlyANodeAboveHasIsCompletedFromThere) {
    EXPECT_THAT(test_tree().complete(GPON_ONU_NODE, "vla"), ElementsAre("vlan"));
    EXPECT_THAT(test_tree().complete(GPON_ONU_NODE, "zzz"), IsEmpty());
}

TEST(CommandTree, EveryCommandOfTheNodeIsOfferedAtTheBeginning) {
    for (const auto* text : {"", " "}) {
        const auto keywords = test_tree().complete(IF_GPON_NODE, text);
        for (const auto* keyword : {"fec", "onu", "onu-auto-flow", "show", "interface", "exit", "end"})
            EXPECT_THAT(keywords, Contains(keyword));
        EXPECT_THAT(keywords, Not(Contains("vlan")));
    }
}

TEST(CommandTree, HelpHasALineForEachWord) {
    const auto lines = test_tree().describe(IF_GPON_NODE, "onu 1 type A ");
    EXPECT_THAT(words_of(lines), ElementsAre("loid", "pw", "sn"));
    EXPECT_EQ(lines[0].help, "How it is known");
    EXPECT_TRUE(lines[0].keyword);
}

TEST(CommandTree, HelpNamesVariablesRangesAndTheEndOfTheLine) {
    const auto range = test_tree().describe(CONFIG_NODE, "vlan ");
    EXPECT_THAT(words_of(range), ElementsAre("(1-4094)"));
    EXPECT_EQ(range[0].help, "VLAN id");
    EXPECT_FALSE(range[0].keyword);
    EXPECT_THAT(words_of(test_tree().describe(CONFIG_NODE, "interface ")), ElementsAre("IFNAME"));
    EXPECT_THAT(words_of(test_tree().describe(CONFIG_NODE, "interface x ")), ElementsAre("<cr>"));
}

TEST(CommandTree, NoHelpForALineThatFitsNothing) {
    EXPECT_THAT(test_tree().describe(IF_GPON_NODE, "fec nonsense "), IsEmpty());
}

TEST(CommandTree, HelpBehindDoIsThatOfEnableMode) {
    EXPECT_THAT(test_tree().complete(GPON_ONU_NODE, "do show onu s"), ElementsAre("status"));
}

TEST(CommandTree, FirstWordThatFitsNothingIsFound) {
    const auto trouble = test_tree().find_trouble(IF_GPON_NODE, " fec downstreem enable");
    ASSERT_TRUE(trouble);
    EXPECT_EQ(trouble->offset, 5u);
    EXPECT_THAT(trouble->candidates, IsEmpty());
}

TEST(CommandTree, WordThatFitsTooMuchIsFoundWithItsCandidates) {
    const auto trouble = test_tree().find_trouble(IF_GPON_NODE, "on 1");
    ASSERT_TRUE(trouble);
    EXPECT_EQ(trouble->offset, 0u);
    EXPECT_THAT(trouble->candidates, ElementsAre("onu", "onu-auto-flow"));
}

TEST(CommandTree, WordThatFitsNothingIsTheTroubleEvenBehindOneThatFitsTooMuch) {
    const auto trouble = test_tree().find_trouble(IF_GPON_NODE, "on 1 nonsense");
    ASSERT_TRUE(trouble);
    EXPECT_EQ(trouble->offset, 5u);
    EXPECT_THAT(trouble->candidates, IsEmpty());
}

TEST(CommandTree, ShortWordIsNoTroubleIfTheRestOfTheLineDecides) {
    EXPECT_TRUE(test_understand(IF_GPON_NODE, "on 1 type A sn B"));
    EXPECT_FALSE(test_tree().find_trouble(IF_GPON_NODE, "on 1 type A sn B"));
}

TEST(CommandTree, NoTroubleInALineThatIsFine) {
    EXPECT_FALSE(test_tree().find_trouble(IF_GPON_NODE, "fec down e"));
    EXPECT_FALSE(test_tree().find_trouble(IF_GPON_NODE, "onu 1 type A sn B"));
}

TEST(CommandTree, EveryCommandOfTheDaemonStandsOnNodesThatTheShellHas) {
    test_tree();
    for (const auto& row : daemon_commands()) {
        EXPECT_THAT(kavo_cmd_parse(row.syntax), Not(IsEmpty())) << row.syntax;
        for (const auto node : row.nodes)
            EXPECT_TRUE(node == AUTH_NODE || vector_lookup(cmdvec, node)) << row.syntax;
    }
}

TEST(CommandTree, ALineWithANulIsNotUnderstood) {
    EXPECT_FALSE(test_understand(CONFIG_NODE, std::string(1, '\0')));
    EXPECT_FALSE(test_understand(CONFIG_NODE, std::string("gpon\0", 5)));
    EXPECT_TRUE(test_understand(CONFIG_NODE, "gpon"));
}

} // namespace
