#include "wait_line.h"

#include <gtest/gtest.h>

namespace {

TEST(WaitLine, HasTheLastLineAndTheTime) {
    EXPECT_EQ(wait_line("Getting file from 10.0.0.1, please wait...\n", 12),
              "Getting file from 10.0.0.1, please wait... 12 s");
    EXPECT_EQ(wait_line("one\r\ntwo \r\n\r\n", 3), "two 3 s");
    EXPECT_EQ(wait_line("no end", 1), "no end 1 s");
}

TEST(WaitLine, IsNoneWithoutText) {
    EXPECT_EQ(wait_line("", 1), "");
    EXPECT_EQ(wait_line("\n \r\n", 1), "");
}

TEST(WaitLine, FitsOnATerminalAndLeavesItAsItIs) {
    const std::string line = wait_line(std::string(200, 'x'), 12345);
    EXPECT_EQ(line.size(), 72u);
    EXPECT_TRUE(line.ends_with("x 12345 s")) << line;
    EXPECT_EQ(wait_line("a\033[2Jb\x7f", 1), "a[2Jb 1 s");
}

} // namespace
