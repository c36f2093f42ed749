#include "script_runner.h"

#include <gmock/gmock.h>
#include <sstream>

#include "shell_tree.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

/// A daemon that refuses some lines, and notes how many lines it was ahead of the answers.
class FakeDaemon {
public:
    explicit FakeDaemon(Lines refused_lines) : refuses_(std::move(refused_lines)) {}

    LinePort port() {
        return {[this](const std::string& line) {
                    sent.push_back(line);
                    ahead.push_back(sent.size() - answered_);
                },
                [this] {
                    const auto& line = sent.at(answered_++);
                    const bool refused = std::find(refuses_.begin(), refuses_.end(), line) != refuses_.end();
                    return refused ? VtyReply{"% no: " + line + "\n", 1} : VtyReply{"did " + line + "\n", 0};
                },
                [this] {
                    saved_behind.push_back(sent.size());
                    EXPECT_EQ(answered_, sent.size());
                    const bool refused =
                        std::find(refuses_.begin(), refuses_.end(), "(save)") != refuses_.end();
                    return refused ? VtyReply{"% no space\n", 1} : VtyReply{"saved\n", 0};
                }};
    }

    Lines sent;
    std::vector<size_t> ahead;        // for each line: unanswered lines with it
    std::vector<size_t> saved_behind; // lines that were sent before each save

private:
    Lines refuses_;
    size_t answered_ = 0;
};

struct Outcome {
    Lines sent;
    std::vector<size_t> ahead, saved_behind;
    std::string printed;
    std::vector<ScriptRefusal> refusals;
    ScriptSummary summary;
    std::string prompt;
};

Outcome run(const std::string& file, const Lines& refused = {}, const Lines& before = {}) {
    FakeDaemon daemon(refused);
    ShellMode mode(test_understand);
    mode.answered("enable", 0);
    for (const auto& line : before)
        mode.answered(line, 0);
    Outcome outcome;
    ScriptRunner runner(
        daemon.port(), mode, [&](const std::string& text) { outcome.printed += text; },
        [&](const ScriptRefusal& refusal) { outcome.refusals.push_back(refusal); });
    std::istringstream lines(file);
    runner.run(lines);
    outcome.sent = daemon.sent;
    outcome.ahead = daemon.ahead;
    outcome.saved_behind = daemon.saved_behind;
    outcome.summary = runner.summary();
    outcome.prompt = mode.prompt();
    return outcome;
}

TEST(ScriptRunner, LinesRunInTheirOrderAndWhatTheyPrintIsKept) {
    const auto outcome = run("configure terminal\n interface gpon-olt1/1\n  fec downstream enable\r\nexit\n");
    EXPECT_THAT(outcome.sent,
                ElementsAre("configure terminal", "interface gpon-olt1/1", "fec downstream enable", "exit"));
    EXPECT_EQ(outcome.printed, "did configure terminal\ndid interface gpon-olt1/1\n"
                               "did fec downstream enable\ndid exit\n");
    EXPECT_EQ(outcome.summary.run, 4u);
    EXPECT_EQ(outcome.summary.refused, 0u);
    EXPECT_EQ(outcome.prompt, "gpon(config)# ");
}

TEST(ScriptRunner, SavingWaitsForTheLinesBeforeItAndEndsNoBlock) {
    const char* const file = "interface gpon-olt1/1\nfec downstream enable\nwr mem\nfec downstream disable\n";
    const auto saved = run(file);
    EXPECT_THAT(saved.saved_behind, ElementsAre(3)); // "configure terminal" leads there
    EXPECT_EQ(saved.sent.back(), "fec downstream disable");
    EXPECT_EQ(saved.summary.run, 4u);
    EXPECT_EQ(saved.summary.refused, 0u);

    const auto refused = run(file, {"(save)"});
    EXPECT_EQ(refused.sent.back(), "fec downstream disable");
    ASSERT_EQ(refused.refusals.size(), 1u);
    EXPECT_EQ(refused.refusals[0].number, 3u);
    EXPECT_EQ(refused.refusals[0].text, "% no space\n");
    EXPECT_EQ(refused.refusals[0].block_start, 0u);
    EXPECT_EQ(refused.summary.blocks, 0u);
}

TEST(ScriptRunner, CommentsAndEmptyLinesAreNotSent) {
    const auto outcome = run("! a comment\n\n# another\n   \nconfigure terminal\n!\n");
    EXPECT_THAT(outcome.sent, ElementsAre("configure terminal"));
    EXPECT_EQ(outcome.summary.run, 1u);
}

TEST(ScriptRunner, SavedConfigurationGoesToTheConfigurationByItself) {
    const auto outcome = run("gpon\n profile bandwidth a fixed 250\n!\n"
                             "onu-srvprofile profile-id 1 onu-type A\n name x\n!\n"
                             "interface gpon-olt1/1\n fec downstream enable\n!\n"
                             "interface gpon-onu1/1:1\n name y\n!\n");
    EXPECT_THAT(outcome.sent,
                ElementsAre("configure terminal", "gpon", "profile bandwidth a fixed 250",
                            "onu-srvprofile profile-id 1 onu-type A", "name x", "interface gpon-olt1/1",
                            "fec downstream enable", "interface gpon-onu1/1:1", "name y"));
    EXPECT_EQ(outcome.summary.run, 8u); // of the file
    EXPECT_THAT(outcome.refusals, IsEmpty());
}

TEST(ScriptRunner, ServiceProfileAloneFindsItsWay) {
    EXPECT_THAT(
        run("onu-srvprofile profile-id 1 onu-type A\n name x\n").sent,
        ElementsAre("configure terminal", "gpon", "onu-srvprofile profile-id 1 onu-type A", "name x"));
}

TEST(ScriptRunner, RefusedLineEndsItsBlockAndTheNextGoesOn) {
    const auto outcome = run("configure terminal\n"
                             "interface gpon-onu1/1:1\n name a\n tcont 1 profile p\n name b\n!\n"
                             "interface gpon-onu1/1:2\n name c\n!\n",
                             {"tcont 1 profile p"});
    EXPECT_THAT(outcome.sent, ElementsAre("configure terminal", "interface gpon-onu1/1:1", "name a",
                                          "tcont 1 profile p", "interface gpon-onu1/1:2", "name c"));
    ASSERT_EQ(outcome.refusals.size(), 1u);
    const auto& refusal = outcome.refusals[0];
    EXPECT_EQ(refusal.number, 4u);
    EXPECT_EQ(refusal.line, "tcont 1 profile p");
    EXPECT_EQ(refusal.text, "% no: tcont 1 profile p\n");
    EXPECT_EQ(refusal.block_start, 2u);
    EXPECT_EQ(refusal.block, "interface gpon-onu1/1:1");
    EXPECT_EQ(outcome.summary.run, 6u);
    EXPECT_EQ(outcome.summary.refused, 1u);
    EXPECT_EQ(outcome.summary.blocks, 1u);
    EXPECT_EQ(outcome.summary.skipped, 1u);
}

TEST(ScriptRunner, NothingOfABlockRunsWhoseFirstLineIsRefused) {
    const auto outcome =
        run("configure terminal\ninterface gpon-olt9/1\n fec downstream enable\nexit\nvlan 5\n",
            {"interface gpon-olt9/1"});
    // "exit" would leave the configuration.
    EXPECT_THAT(outcome.sent, ElementsAre("configure terminal", "interface gpon-olt9/1", "vlan 5"));
    EXPECT_EQ(outcome.summary.skipped, 1u);
    EXPECT_EQ(outcome.summary.blocks, 1u);
    EXPECT_EQ(outcome.prompt, "gpon(vlan 5)# ");
}

TEST(ScriptRunner, BlockRefusedBehindItsFirstLineIsStillLeft) {
    const auto outcome =
        run("configure terminal\ninterface gpon-olt1/1\n fec downstream enable\nexit\ndebug everything\n",
            {"fec downstream enable"});
    EXPECT_THAT(outcome.sent, ElementsAre("configure terminal", "interface gpon-olt1/1",
                                          "fec downstream enable", "exit", "debug everything"));
    EXPECT_EQ(outcome.prompt, "gpon(config)# ");
}

TEST(ScriptRunner, EndOfARefusedBlockGoesToEnableMode) {
    const auto outcome = run("configure terminal\ninterface gpon-olt9/1\n x\nend\nshow onu status\n",
                             {"interface gpon-olt9/1"});
    EXPECT_THAT(outcome.sent,
                ElementsAre("configure terminal", "interface gpon-olt9/1", "end", "show onu status"));
    EXPECT_EQ(outcome.prompt, "gpon# ");
}

TEST(ScriptRunner, LineOutsideOfBlocksStandsForItself) {
    const auto outcome = run("configure terminal\ndebug everything\nhostname x\n", {"debug everything"});
    EXPECT_THAT(outcome.sent, ElementsAre("configure terminal", "debug everything", "hostname x"));
    EXPECT_EQ(outcome.refusals[0].block_start, 0u);
    EXPECT_EQ(outcome.summary.blocks, 0u);
    EXPECT_EQ(outcome.summary.refused, 1u);
}

TEST(ScriptRunner, LineBehindTheMarkRunsAtTheLevelOfTheConfiguration) {
    // On the ONU's node "name z" would be a command of the ONU.
    const auto outcome = run("interface gpon-onu1/1:1\n name a\n!\nname z\n", {"name z"});
    EXPECT_THAT(outcome.sent, ElementsAre("configure terminal", "interface gpon-onu1/1:1", "name a", "end",
                                          "configure terminal", "name z"));
    EXPECT_EQ(outcome.refusals[0].block_start, 0u);
}

TEST(ScriptRunner, InBlocksALineWaitsForTheOneBeforeIt) {
    const auto outcome = run("configure terminal\ninterface gpon-onu1/1:1\n name a\n name b\n name c\n");
    for (size_t i = 2; i < outcome.sent.size(); i++)
        EXPECT_EQ(outcome.ahead[i], 1u) << outcome.sent[i];
}

TEST(ScriptRunner, LinesThatRunInAnyCaseGoAhead) {
    const auto outcome =
        run("configure terminal\ninterface gpon-onu1/1:1\n name a\nexit\ninterface gpon-onu1/1:2\n");
    // name a, exit and the next block's first line
    EXPECT_THAT(outcome.ahead, ElementsAre(1, 1, 1, 2, 3));
}

TEST(ScriptRunner, LastLineOfABlockIsItsOwnThoughTheNextBlockHasBegun) {
    const auto outcome =
        run("configure terminal\ninterface gpon-onu1/1:1\n name a\nexit\ninterface gpon-onu1/1:2\n name b\n",
            {"name a"});
    EXPECT_EQ(outcome.sent.back(), "name b");
    ASSERT_EQ(outcome.refusals.size(), 1u);
    EXPECT_EQ(outcome.refusals[0].block_start, 2u);
    EXPECT_EQ(outcome.summary.blocks, 1u);
    EXPECT_EQ(outcome.summary.skipped, 0u);
}

TEST(ScriptRunner, ManyIndependentLinesKeepTheirNumberAheadBounded) {
    std::string file = "configure terminal\n";
    for (int i = 0; i < 1000; i++)
        file += "debug everything\n";
    const auto outcome = run(file);
    EXPECT_EQ(outcome.sent.size(), 1001u);
    EXPECT_LE(*std::max_element(outcome.ahead.begin(), outcome.ahead.end()), 32u);
    EXPECT_GT(outcome.ahead[500], 1u);
    EXPECT_EQ(outcome.summary.run, 1001u);
}

TEST(ScriptRunner, LineThatTheShellDoesNotKnowIsSentAllTheSame) {
    const auto outcome =
        run("configure terminal\ninterface gpon-olt1/1\n brand-new thing\n fec downstream enable\n");
    EXPECT_THAT(outcome.sent, ElementsAre("configure terminal", "interface gpon-olt1/1", "brand-new thing",
                                          "fec downstream enable"));
}

TEST(ScriptRunner, LinesThatStandAreLeftOut) {
    FakeDaemon daemon({});
    ShellMode mode(test_understand);
    mode.answered("enable", 0);
    ScriptRunner runner(
        daemon.port(), mode, [](const std::string&) {}, [](const ScriptRefusal&) {});
    runner.leave_out([](const ScriptLine& line) {
        return line == ScriptLine{"gpon(gpon-onu1/1:1)# ", "tcont 1 profile p"};
    });
    std::istringstream lines("interface gpon-onu1/1:1\n tcont 1 prof p\n name a\n!\n"
                             "interface gpon-onu1/1:2\n tcont 1 profile p\n");
    runner.run(lines);
    EXPECT_THAT(daemon.sent, ElementsAre("configure terminal", "interface gpon-onu1/1:1", "name a",
                                         "interface gpon-onu1/1:2", "tcont 1 profile p"));
    EXPECT_EQ(runner.summary().same, 1u);
    EXPECT_EQ(runner.summary().run, 4u);
}

TEST(ScriptRunner, ALineOfNulsIsALineLikeAnyOther) {
    const std::string nuls(3, '\0');
    const auto outcome =
        run("configure terminal\n" + nuls + "\ninterface gpon-onu1/1:1\n" + nuls + "\n", {nuls});
    EXPECT_EQ(outcome.summary.refused, 2u);
    EXPECT_EQ(outcome.refusals.at(0).number, 2u);
    EXPECT_EQ(outcome.refusals.at(1).block_start, 3u);
}

TEST(ScriptRunner, NothingIsSentBehindTheEndOfTheSession) {
    const auto outcome = run("show onu status\nexit\nshow onu status\n");
    EXPECT_THAT(outcome.sent, ElementsAre("show onu status", "exit"));
    EXPECT_EQ(outcome.summary.skipped, 1u);
}

} // namespace
