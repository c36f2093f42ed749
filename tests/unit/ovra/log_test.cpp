#include <chrono>
#include <ctime>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "../support/log_text.h"
#include "../support/temp_dir.h"
#include "libovra.h"

namespace {

class PlatformLog : public ::testing::Test {
protected:
    std::string log() const { return without_times(dir_.read("log")); }

    TempDir dir_;
    ScopedEnv env_{"OV_LOG_FILE", dir_.file("log")};
};

TEST_F(PlatformLog, WritesLevelTagFileLineFunctionAndText) {
    ov_log_util(nullptr, 100, "LIB", "uclient.cpp", 12, "uclient_send", "it failed");
    EXPECT_EQ(log(), "error/100 [LIB] uclient.cpp:12 uclient_send: it failed\n");
}

// A thread of its own: what a thread has made of the present second stays good for that second.
void log_in_a_thread() {
    std::thread([] { ov_log_util(nullptr, 40, "LIB", "a.cpp", 1, "f", "now"); }).join();
}

std::string local_minute(std::chrono::system_clock::time_point at) {
    const time_t time = std::chrono::system_clock::to_time_t(at);
    tm local{};
    localtime_r(&time, &local);
    char text[32] = "";
    strftime(text, sizeof text, "%F %H:%M:", &local);
    return text;
}

TEST_F(PlatformLog, EveryLineBeginsWithTheLocalTimeInMilliseconds) {
    for (const char* zone : {"UTC", "XYZ-05:30"}) {
        const ScopedEnv tz("TZ", zone);
        tzset();
        std::filesystem::remove(dir_.file("log"));
        const auto before = std::chrono::system_clock::now();
        log_in_a_thread();
        const auto after = std::chrono::system_clock::now();
        const std::string line = dir_.read("log");
        EXPECT_TRUE(std::regex_match(
            line, std::regex(std::string(LOG_TIME) + R"(info/40 \[LIB\] a\.cpp:1 f: now\n)")))
            << line;
        EXPECT_TRUE(line.starts_with(local_minute(before)) || line.starts_with(local_minute(after))) << line;
    }
    tzset();
}

TEST_F(PlatformLog, TimesFollowTheClock) {
    std::string last;
    for (int i = 0; i < 200; i++) {
        ov_log_util(nullptr, 40, "LIB", "a.cpp", 1, "f", "now");
        const std::string log = dir_.read("log");
        const std::string time = log.substr(log.rfind("\n", log.size() - 2) + 1, 23);
        EXPECT_LE(last, time);
        last = time;
    }
}

TEST_F(PlatformLog, NamesTheLevelsThatHaveAName) {
    for (const int level : {20, 40, 60, 80, 100, 120, 50})
        ov_log_util(nullptr, level, "LIB", "a.cpp", 1, "f", "x");
    std::string expected;
    for (const char* name :
         {"debug/20", "info/40", "notice/60", "warning/80", "error/100", "fatal/120", "-/50"})
        expected += std::string(name) + " [LIB] a.cpp:1 f: x\n";
    EXPECT_EQ(log(), expected);
}

TEST_F(PlatformLog, AppendsOneLinePerCall) {
    ov_log_util(nullptr, 40, "MMG", "a.cpp", 1, "f", "first");
    ov_log_util(nullptr, 60, "MMG", "a.cpp", 2, "f", "second");
    EXPECT_EQ(log(), "info/40 [MMG] a.cpp:1 f: first\nnotice/60 [MMG] a.cpp:2 f: second\n");
}

TEST_F(PlatformLog, DoesNotDoubleAFinalLineFeed) {
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 1, "f", "text\n");
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 2, "f", "text\n\n");
    EXPECT_EQ(log(), "debug/20 [LIB] a.cpp:1 f: text\ndebug/20 [LIB] a.cpp:2 f: text\n\n");
}

TEST_F(PlatformLog, LeavesPercentSignsAlone) {
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 1, "f", "100%s %n");
    EXPECT_EQ(log(), "debug/20 [LIB] a.cpp:1 f: 100%s %n\n");
}

TEST_F(PlatformLog, TakesTheHandleForAMissingTagAndDashesForMissingNames) {
    ov_log_util("halmsg", 20, nullptr, nullptr, 0, nullptr, nullptr);
    ov_log_util(nullptr, 20, "", "", 0, "", "x");
    EXPECT_EQ(log(), "debug/20 [halmsg] -:0 -: \ndebug/20 [-] -:0 -: x\n");
}

TEST_F(PlatformLog, CutsOverlongNamesAndKeepsTheText) {
    ov_log_util(nullptr, 20, "LIB", std::string(5000, 'a').c_str(), 1, "f", "the text");
    EXPECT_LT(log().size(), 600u);
    EXPECT_TRUE(log().ends_with("the text\n"));
}

TEST_F(PlatformLog, DropsALineThatCannotBeWritten) {
    ScopedEnv missing("OV_LOG_FILE", dir_.file("absent/log"));
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 1, "f", "text");
    ScopedEnv directory("OV_LOG_FILE", dir_.path());
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 1, "f", "text");
    EXPECT_FALSE(std::filesystem::exists(dir_.file("absent")));
    EXPECT_EQ(log(), "");
}

TEST_F(PlatformLog, GoesOnInANewFileWhenTheOldOneIsMovedAway) {
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 1, "f", "old");
    std::filesystem::rename(dir_.file("log"), dir_.file("log.1"));
    std::this_thread::sleep_for(std::chrono::milliseconds(25)); // found out at the clock's next tick
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 2, "f", "new");
    EXPECT_EQ(log(), "debug/20 [LIB] a.cpp:2 f: new\n");
}

TEST_F(PlatformLog, RaisedExceptionNamesTheAssertionAtFatalLevel) {
    ov_raise_except("row != NULL", "a.cpp", 7, "f");
    EXPECT_EQ(log(), "fatal/120 [LIB] a.cpp:7 f: Assertion `row != NULL' failed\n");
}

} // namespace
