#include "upgrade_progress.h"

#include <gtest/gtest.h>

namespace {

constexpr char HEAD[] = "\n"
                        "onu        file         size       sent percent status\n"
                        "------------------------------------------------------\n";

std::string turn(const std::string& text, unsigned seconds = 5, int result = 0) {
    const std::string whole = HEAD + text;
    const auto shown =
        with_upgrade_progress({"show cpe update-status all", {}, seconds, 0}, {whole, result}).text;
    EXPECT_TRUE(shown.starts_with(whole));
    return shown.substr(whole.size());
}

TEST(UpgradeProgress, CountsWhoIsDoneAndWhoHasFailed) {
    EXPECT_EQ(turn("1/1:1      a.bin         100        100     100  DOWNLOADSUC\n"
                   "1/1:2      a.bin         100         50      50  DOWNLOADING\n"
                   "1/1:3      a.bin         100        100     100  ACTIVEOK\n"
                   "1/1:4      a.bin         100          0       0  DOWNLOADFAIL\n"
                   "1/1:5      a.bin         100        100     100  COMMITOK\n"
                   "1/1:6      a.bin         100         10      10  DOWNLOADABORT\n"
                   "total 6\n"),
              "60% sent, 3 of 6 ONUs done, 2 failed\n");
}

TEST(UpgradeProgress, LeavesOnusWithoutAnUpgradeOut) {
    EXPECT_EQ(turn("1/1:1                    0          0       0  NULL\n"
                   "1/1:2      a.bin         100          7       7  DOWNLOADING\n"
                   "total 2\n"),
              "7% sent, 0 of 1 ONUs done, 0 failed\n");
    EXPECT_EQ(turn("1/1:1                    0          0       0  NULL\ntotal 1\n"), "");
    EXPECT_EQ(turn("total 0\n"), "");
}

TEST(UpgradeProgress, CountsAStateThatNobodyKnowsAsFailed) {
    EXPECT_EQ(turn("1/1:1      a.bin         100          7       7 UNKNOWN ERROR\n"),
              "7% sent, 0 of 1 ONUs done, 1 failed\n");
}

TEST(UpgradeProgress, IsOfRepeatedShowsThatWorked) {
    EXPECT_EQ(turn("1/1:1      a.bin         100        100     100  ACTIVEOK\n", 0), "");
    EXPECT_EQ(turn("1/1:1      a.bin         100        100     100  ACTIVEOK\n", 5, 1), "");
}

TEST(UpgradeProgress, IsOfNoOtherShow) {
    const std::string text = "onu        state\n1/1:1 a b c 100 ACTIVEOK\n";
    EXPECT_EQ(with_upgrade_progress({"show onu status", {}, 5, 0}, {text, 0}).text, text);
}

} // namespace
