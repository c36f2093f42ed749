#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "../support/temp_dir.h"
#include "libovra.h"

namespace {

class PlatformLog : public ::testing::Test {
protected:
    std::string log() const { return dir_.read("log"); }

    TempDir dir_;
    ScopedEnv env_{"OV_LOG_FILE", dir_.file("log")};
};

TEST_F(PlatformLog, WritesLevelTagFileLineFunctionAndText) {
    ov_log_util(nullptr, 100, "LIB", "uclient.cpp", 12, "uclient_send", "it failed");
    EXPECT_EQ(log(), "100 [LIB] uclient.cpp:12 uclient_send: it failed\n");
}

TEST_F(PlatformLog, AppendsOneLinePerCall) {
    ov_log_util(nullptr, 40, "MMG", "a.cpp", 1, "f", "first");
    ov_log_util(nullptr, 60, "MMG", "a.cpp", 2, "f", "second");
    EXPECT_EQ(log(), "40 [MMG] a.cpp:1 f: first\n60 [MMG] a.cpp:2 f: second\n");
}

TEST_F(PlatformLog, DoesNotDoubleAFinalLineFeed) {
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 1, "f", "text\n");
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 2, "f", "text\n\n");
    EXPECT_EQ(log(), "20 [LIB] a.cpp:1 f: text\n20 [LIB] a.cpp:2 f: text\n\n");
}

TEST_F(PlatformLog, LeavesPercentSignsAlone) {
    ov_log_util(nullptr, 20, "LIB", "a.cpp", 1, "f", "100%s %n");
    EXPECT_EQ(log(), "20 [LIB] a.cpp:1 f: 100%s %n\n");
}

TEST_F(PlatformLog, TakesTheHandleForAMissingTagAndDashesForMissingNames) {
    ov_log_util("halmsg", 20, nullptr, nullptr, 0, nullptr, nullptr);
    ov_log_util(nullptr, 20, "", "", 0, "", "x");
    EXPECT_EQ(log(), "20 [halmsg] -:0 -: \n20 [-] -:0 -: x\n");
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
    EXPECT_EQ(log(), "20 [LIB] a.cpp:2 f: new\n");
}

TEST_F(PlatformLog, RaisedExceptionNamesTheAssertionAtFatalLevel) {
    ov_raise_except("row != NULL", "a.cpp", 7, "f");
    EXPECT_EQ(log(), "120 [LIB] a.cpp:7 f: Assertion `row != NULL' failed\n");
}

} // namespace
