#include "ov_command.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include <sys/wait.h>

#include "../support/temp_dir.h"

namespace {

TEST(CommandWord, OrdinaryNamesPass) {
    for (const char* word :
         {"sOnuTable", "/tmp/a-b_c.d", "user@host:22", "a+b,c=d%e", "...", "a..b", "/..a/"})
        EXPECT_TRUE(ov_command_word_ok(word)) << word;
}

TEST(CommandWord, ShellCharactersOptionsAndParentDirectoriesDont) {
    for (const char* word : {"", "-f", "a b", "a;b", "$(x)", "`x`", "a|b", "a>b", "a\nb", "a'b", "a*", "..",
                             "../a", "a/..", "a/../b", "\xC3\xA4"})
        EXPECT_FALSE(ov_command_word_ok(word)) << word;
    EXPECT_FALSE(ov_command_word_ok(std::string_view("a\0b", 3)));
}

TEST(CommandRun, GivesTheExitStatus) {
    EXPECT_EQ(ov_command_run({"true"}), 0);
    EXPECT_EQ(ov_command_run({"sh", "-c", "exit 7"}), 7);
}

TEST(CommandRun, AProgramThatCantRunOrIsKilledGivesMinusOne) {
    EXPECT_EQ(ov_command_run({"/no/such/program"}), -1);
    EXPECT_EQ(ov_command_run({"sh", "-c", "kill -9 $$"}), -1);
    EXPECT_EQ(ov_command_run({}), -1);
}

TEST(CommandRun, WordsReachTheProgramAsTheyAre) {
    TempDir dir;
    std::string name = dir.file("a b;$x");
    EXPECT_EQ(ov_command_run({"touch", name.c_str()}), 0);
    EXPECT_TRUE(std::filesystem::exists(name));
}

} // namespace
