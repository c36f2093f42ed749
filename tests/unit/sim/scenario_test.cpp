#include "scenario.h"

#include <gtest/gtest.h>
#include <optional>
#include <sstream>

#include "../support/temp_dir.h"

namespace {

class ScenarioTest : public testing::Test {
protected:
    bool read(const std::string& text) {
        scenario_ = {};
        scenario_.file = "x.scn";
        error_.clear();
        std::istringstream in(text);
        return read_scenario(chassis_, in, scenario_, error_);
    }
    // Starts the main script; the result of its end, when it has ended.
    void start() {
        result_.reset();
        run_.start(scenario_.on_start, 0, [this](const std::string& error) {
            result_ = error;
            chassis_.loop.stop();
        });
    }
    // Runs the loop to the end of the script, a minute at most.
    void pass_to_the_end() { pass(60000); }
    // Runs the loop for this long.
    void pass(int ms) {
        chassis_.loop.after(std::chrono::milliseconds(ms), [this] { chassis_.loop.stop(); });
        chassis_.loop.run();
    }
    std::string notes() const {
        std::string text;
        for (const Record& record : chassis_.records.all())
            text += *record.find("text");
        return text;
    }

    Chassis chassis_;
    Scenario scenario_;
    ScriptRun run_;
    std::string error_;
    std::optional<std::string> result_;
};

TEST_F(ScenarioTest, KeepsItsTwoScriptsApart) {
    ASSERT_TRUE(read("note a # first\n\n  # nothing\non connect\n note b\n note c\nend\nnote d")) << error_;
    EXPECT_EQ(scenario_.on_start.size(), 2u);
    EXPECT_EQ(scenario_.on_connect.size(), 2u);
    EXPECT_EQ(scenario_.on_connect[1].line, 6u);
}

TEST_F(ScenarioTest, NamesFileAndLineOfAMistake) {
    EXPECT_FALSE(read("note a\n\nnosuch thing\n"));
    EXPECT_EQ(error_, "x.scn:3: no command \"nosuch\"; \"help\" lists them");
    EXPECT_FALSE(read("on connect\non connect\nend\n"));
    EXPECT_EQ(error_, "x.scn:2: \"on connect\" inside \"on connect\"");
    EXPECT_FALSE(read("note " + std::string(70000, 'x')));
    EXPECT_EQ(error_, "x.scn:1: line too long");
}

TEST_F(ScenarioTest, TakesTheLinesOfAnotherFile) {
    const TempDir dir;
    dir.write("inner.scn", "note b\non connect\n note c\nend\nnote d\n");
    ASSERT_TRUE(load_scenario(chassis_, dir.write("outer.scn", "note a\ninclude inner.scn\nnote e\n"),
                              scenario_, error_))
        << error_;
    start();
    EXPECT_EQ(notes(), "abde");
    EXPECT_EQ(scenario_.on_connect.size(), 1u);
    EXPECT_EQ(scenario_.on_start[1].file, dir.file("inner.scn"));
}

TEST_F(ScenarioTest, NamesTheFileThatIsWrongOfSeveral) {
    const TempDir dir;
    dir.write("bad.scn", "note a\nnosuch thing\n");
    dir.write("open.scn", "on connect\n");
    dir.write("loop.scn", "include loop.scn\n");
    const auto error_of = [&](const std::string& text) {
        error_.clear();
        EXPECT_FALSE(load_scenario(chassis_, dir.write("outer.scn", text), scenario_, error_)) << text;
        return error_.substr(error_.find(dir.path()) == 0 ? dir.path().size() + 1 : 0);
    };
    EXPECT_EQ(error_of("include bad.scn"), "bad.scn:2: no command \"nosuch\"; \"help\" lists them");
    EXPECT_EQ(error_of("include none.scn"), "none.scn: No such file or directory");
    EXPECT_EQ(error_of("include open.scn\nend"), "open.scn:1: \"end\" is missing");
    EXPECT_EQ(error_of("include loop.scn"), "loop.scn:1: too many files include one another");
    EXPECT_EQ(error_of("\ninclude"), "outer.scn:2: include: which file?");
    EXPECT_EQ(error_of("on connect\ninclude bad.scn\nend"), "outer.scn:2: \"include\" inside \"on connect\"");
}

TEST_F(ScenarioTest, RunsStepsAtOnceWhenNothingWaits) {
    ASSERT_TRUE(read("note a\nnote b\nnote c\n"));
    start();
    EXPECT_EQ(result_, "");
    EXPECT_EQ(notes(), "abc");
}

TEST_F(ScenarioTest, ThousandsOfStepsDontDeepenTheStack) {
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += "count\n";
    ASSERT_TRUE(read(text));
    start();
    EXPECT_EQ(result_, "");
}

TEST_F(ScenarioTest, WaitsInTheMiddle) {
    ASSERT_TRUE(read("note a\ndelay 5\nnote b\nwait kind=note text=go\nnote c\n"));
    start();
    EXPECT_FALSE(result_);
    EXPECT_EQ(notes(), "a");
    chassis_.loop.after(std::chrono::milliseconds(10), [this] {
        chassis_.records.add("note", {{"text", "go"}});
    });
    pass_to_the_end();
    EXPECT_EQ(result_, "");
    EXPECT_EQ(notes(), "abgoc");
}

TEST_F(ScenarioTest, StopsAtAStepThatFails) {
    ASSERT_TRUE(read("note a\nwait timeout=1 kind=never\nnote b\n"));
    start();
    pass_to_the_end();
    EXPECT_EQ(result_, "x.scn:2: timeout after 1 ms: 0 of 1 records seen");
    EXPECT_EQ(notes(), "a");
}

TEST_F(ScenarioTest, ACancelledRunDoesNothingMore) {
    ASSERT_TRUE(read("delay 1\nnote a\n"));
    start();
    run_.cancel();
    pass(10);
    EXPECT_FALSE(result_);
    EXPECT_EQ(notes(), "");
}

TEST_F(ScenarioTest, ARunMayBeStartedAnew) {
    ASSERT_TRUE(read("note a\ndelay 1\nnote b\n"));
    start();
    start();
    pass_to_the_end();
    EXPECT_EQ(result_, "");
    EXPECT_EQ(notes(), "aab");
}

TEST_F(ScenarioTest, RecordsBeforeItsBeginDontCountForItsWaits) {
    chassis_.records.add("note", {{"text", "old"}});
    ASSERT_TRUE(read("wait timeout=1 kind=note\n"));
    run_.start(scenario_.on_start, chassis_.records.last_id(), [this](const auto& e) { result_ = e; });
    pass(10);
    EXPECT_NE(result_, "");
}

} // namespace
