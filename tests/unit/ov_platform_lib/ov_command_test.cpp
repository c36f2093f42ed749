#include "ov_command.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ov_clock.h"

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

// ---- what the program meets --------------------------------------------------------------------------

std::string content(const std::string& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

int shell(const std::string& line, const OvCommandSettings& settings = {}) {
    return ov_command_run({"sh", "-c", line.c_str()}, settings);
}

// Whether a process that isn't a child of ours ends, whoever is to bury it.
bool ends(pid_t pid) {
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    for (int tries = 0; tries < 10000; ++tries) {
        const std::string state = content(path);
        if (state.empty() || state.find(" Z ") != std::string::npos)
            return true;
        usleep(1000);
    }
    return false;
}

TEST(CommandRun, AQuietProgramPrintsNothing) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(shell("echo seen"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "seen\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(shell("echo no; echo nor this >&2", {.quiet = true}), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(CommandRun, StartsInADirectory) {
    TempDir dir;
    EXPECT_EQ(shell("touch here", {.directory = dir.path().c_str()}), 0);
    EXPECT_TRUE(std::filesystem::exists(dir.file("here")));
    EXPECT_NE(ov_command_run({"true"}, {.directory = "/no/such/directory"}), 0);
}

// A socket that a transfer still holds keeps the next daemon from its port.
TEST(CommandRun, AProgramGetsNoOtherFileOfThisProcess) {
    const int open_here = open("/dev/zero", O_RDONLY); // NOLINT: without O_CLOEXEC
    ASSERT_GT(open_here, 2);
    EXPECT_EQ(shell("test ! -e /proc/self/fd/" + std::to_string(open_here)), 0);
    EXPECT_EQ(shell("read line"), 1) << "its standard input is at its end";
    close(open_here);
}

TEST(CommandRun, SignalsAreAsAProgramExpectsThem) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t old;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &old);
    EXPECT_EQ(shell("grep -q 'SigBlk:.0*$' /proc/self/status"), 0);
    EXPECT_EQ(shell("kill -PIPE $$"), -1);
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    std::signal(SIGPIPE, before);
}

TEST(CommandRun, AThreadsPriorityIsNotTheProgramS) {
    const sched_param mine = {.sched_priority = 1};
    if (sched_setscheduler(0, SCHED_RR, &mine) != 0)
        GTEST_SKIP() << "priorities aren't permitted here";
    const int status = shell("chrt -p $$ | grep -q SCHED_OTHER");
    const sched_param none = {};
    sched_setscheduler(0, SCHED_OTHER, &none);
    EXPECT_EQ(status, 0);
}

TEST(CommandRun, WhoeverTakesTooLongIsEndedWithAllThatItHasStarted) {
    TempDir dir;
    const std::string pids = dir.file("pids");
    const auto begin = ov_wait_now();
    EXPECT_EQ(shell("sleep 1000 & echo $! > " + pids + "; wait", {.limit = std::chrono::milliseconds(200)}),
              -1);
    EXPECT_LT(ov_wait_now() - begin, std::chrono::seconds(30));
    const pid_t further = static_cast<pid_t>(std::stol(content(pids)));
    EXPECT_TRUE(ends(further));
}

TEST(CommandRun, WhoeverIsInTimeIsNot) {
    EXPECT_EQ(shell("exit 3", {.limit = std::chrono::seconds(60)}), 3);
}

TEST(CommandRun, AFileThatGrowsTooLongEndsItsWriter) {
    TempDir dir;
    const std::string path = dir.file("f");
    EXPECT_NE(shell("exec head -c 100000 /dev/zero > " + path, {.file_limit = 4096}), 0);
    EXPECT_EQ(std::filesystem::file_size(path), 4096u);
    EXPECT_EQ(shell("exec head -c 4096 /dev/zero > " + path, {.file_limit = 4096}), 0);
}

TEST(CommandRun, NobodyElsesChildIsWaitedFor) {
    const pid_t other = fork();
    if (other == 0)
        _exit(9);
    EXPECT_EQ(shell("exit 3", {.limit = std::chrono::seconds(60)}), 3);
    EXPECT_EQ(shell("exit 4"), 4);
    int status = 0;
    ASSERT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(WEXITSTATUS(status), 9);
}

TEST(CommandRun, AProgramEndsWithTheThreadThatStartedIt) {
    TempDir dir;
    const std::string mark = dir.file("pid");
    const pid_t parent = fork();
    if (parent == 0) {
        shell("echo $$ > " + mark + ".new; mv " + mark + ".new " + mark + "; exec sleep 1000");
        _exit(0);
    }
    while (!std::filesystem::exists(mark))
        usleep(1000);
    const pid_t program = static_cast<pid_t>(std::stol(content(mark)));
    kill(parent, SIGKILL);
    waitpid(parent, nullptr, 0);
    EXPECT_TRUE(ends(program));
}

} // namespace
