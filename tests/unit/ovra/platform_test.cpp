#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <semaphore.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../support/temp_dir.h"
#include "libovra.h"

namespace {

// ---- shell commands ----------------------------------------------------------------------------

std::string output_of(const char* cmd, int expected = 0) {
    std::array<char, 64> buf{};
    EXPECT_EQ(ov_sys_and_result(cmd, buf.data(), buf.size()), expected) << cmd;
    return buf.data();
}

TEST(ShellCommand, GivesTheOutputWithoutTheLastLineFeed) {
    EXPECT_EQ(output_of("echo hello"), "hello");
    EXPECT_EQ(output_of("printf hello"), "hello");
    EXPECT_EQ(output_of("printf 'a\\nb\\n\\n'"), "a\nb\n");
    EXPECT_EQ(output_of("true"), "");
}

TEST(ShellCommand, GivesTheExitStatus) {
    EXPECT_EQ(output_of("echo no; exit 3", 3), "no");
    EXPECT_EQ(output_of("kill -9 $$", -1), "");
    EXPECT_EQ(output_of(nullptr, -1), "");
}

TEST(ShellCommand, CutsTheOutputToTheBufferAndReadsTheRest) {
    std::array<char, 6> buf{};
    buf.fill('#');
    EXPECT_EQ(ov_sys_and_result("yes | head -c 1000000", buf.data(), 5), 0);
    EXPECT_STREQ(buf.data(), "y\ny\n");
    EXPECT_EQ(buf[5], '#');
    EXPECT_EQ(ov_sys_and_result("echo abcd", buf.data(), 5), 0);
    EXPECT_STREQ(buf.data(), "abcd");
    EXPECT_EQ(ov_sys_and_result("printf 'abc\\ndef'", buf.data(), 5), 0);
    EXPECT_STREQ(buf.data(), "abc\n");
}

TEST(ShellCommand, TakesNoBuffer) {
    EXPECT_EQ(ov_sys_and_result("echo x", nullptr, 0), 0);
    EXPECT_EQ(ov_sys_and_result("echo x", nullptr, 10), 0);
    std::array<char, 1> buf{'#'};
    EXPECT_EQ(ov_sys_and_result("echo x", buf.data(), 0), 0);
    EXPECT_EQ(buf[0], '#');
    EXPECT_EQ(ov_sys_and_result("echo x", buf.data(), 1), 0);
    EXPECT_EQ(buf[0], '\0');
}

TEST(ShellCommand, FormatsItsLineAndRefusesAnOverlongOne) {
    std::array<char, 2000> buf{};
    EXPECT_EQ(ov_sys_and_result_with_var(buf.data(), buf.size(), "echo %d-%s", 7, "x"), 0);
    EXPECT_STREQ(buf.data(), "7-x");

    std::string fits(1023 - 5, 'a'); // 1023 characters with "echo "
    EXPECT_EQ(ov_sys_and_result_with_var(buf.data(), buf.size(), "echo %s", fits.c_str()), 0);
    EXPECT_EQ(buf.data(), fits);
    EXPECT_EQ(ov_sys_and_result_with_var(buf.data(), buf.size(), "echo %sa", fits.c_str()), -1);
    EXPECT_STREQ(buf.data(), "");
}

// ---- time, identity, memory --------------------------------------------------------------------

TEST(StopWatch, MeasuresMicrosecondsFromStartToStop) {
    ov_timing_t* timing = ov_timing_new();
    EXPECT_EQ(ov_timing_get_inter(timing), 0u);
    ov_timing_stop(timing);
    EXPECT_EQ(ov_timing_get_inter(timing), 0u);

    ov_timing_start(timing);
    usleep(3000);
    EXPECT_GE(ov_timing_get_inter(timing), 3000u); // still running
    ov_timing_stop(timing);
    uint64_t measured = ov_timing_get_inter(timing);
    EXPECT_GE(measured, 3000u);
    EXPECT_LT(measured, 10'000'000u);
    usleep(2000);
    EXPECT_EQ(ov_timing_get_inter(timing), measured);
    ov_timing_destroy(timing);
}

TEST(StopWatch, ToleratesNull) {
    ov_timing_start(nullptr);
    ov_timing_stop(nullptr);
    EXPECT_EQ(ov_timing_get_inter(nullptr), 0u);
    ov_timing_destroy(nullptr);
}

TEST(Platform, KnowsTheDaemonAsApplication111) {
    EXPECT_EQ(ov_get_app_id(), 111);
}

TEST(Platform, GivesZeroedMemory) {
    auto* memory = static_cast<unsigned char*>(ov_calloc_mem(10, 10));
    ASSERT_NE(memory, nullptr);
    for (int i = 0; i < 100; i++)
        EXPECT_EQ(memory[i], 0);
    ov_free_mem(memory);
    ov_free_mem(nullptr);
}

TEST(Platform, StartsADetachedThread) {
    sem_t done;
    sem_init(&done, 0, 0);
    auto post = [](void* arg) -> void* {
        sem_post(static_cast<sem_t*>(arg));
        return nullptr;
    };
    EXPECT_EQ(ov_thread_create(post, &done), 0);
    sem_wait(&done);
    EXPECT_EQ(ov_thread_create(nullptr, nullptr), EINVAL);
}

// ---- lock files --------------------------------------------------------------------------------

TEST(LockFile, IsTakenOnceAndThenRunning) {
    TempDir dir;
    std::string path = dir.file("lock");
    EXPECT_EQ(ov_lockfile_already_running(path.c_str()), 0);
    EXPECT_EQ(ov_lockfile_already_running(path.c_str()), 8);
}

TEST(LockFile, IsFreeAgainAfterTheProcessThatHeldIt) {
    TempDir dir;
    std::string path = dir.file("lock");
    pid_t child = fork();
    if (child == 0)
        _exit(ov_lockfile_already_running(path.c_str()));
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ov_lockfile_already_running(path.c_str()), 0);
}

TEST(LockFile, IsNotPassedOnToPrograms) {
    TempDir dir;
    std::string path = dir.file("lock");
    std::string hold = "sleep 60 >/dev/null 2>&1 & echo $! > " + dir.file("pid");
    pid_t child = fork();
    if (child == 0) {
        int rc = ov_lockfile_already_running(path.c_str());
        if (rc == 0)
            rc = ov_sys_and_result(hold.c_str(), nullptr, 0);
        _exit(rc);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ov_lockfile_already_running(path.c_str()), 0);
    kill(std::stoi(dir.read("pid")), SIGKILL);
}

TEST(LockFile, GivesTheErrorOfAnImpossiblePath) {
    TempDir dir;
    EXPECT_EQ(ov_lockfile_already_running(dir.file("absent/lock").c_str()), ENOENT);
    EXPECT_EQ(ov_lockfile_already_running(dir.path().c_str()), EISDIR);
    EXPECT_EQ(ov_lockfile_already_running(nullptr), EINVAL);
}

// ---- list --------------------------------------------------------------------------------------

int by_value(const void* a, const void* b) {
    return *static_cast<const int*>(a) - *static_cast<const int*>(b);
}

std::string values_of(const ov_list_t* list) {
    std::string text;
    for (size_t i = 0; i < ov_list_count(list); i++)
        text += std::to_string(*static_cast<int*>(ov_list_at(list, i))) + " ";
    return text;
}

TEST(PointerList, KeepsItsElementsSorted) {
    std::array<int, 5> n = {30, 10, 50, 20, 40};
    ov_list_t* list = ov_list_new(by_value);
    for (int& v : n)
        EXPECT_EQ(ov_list_add(list, &v), 0);
    EXPECT_EQ(values_of(list), "10 20 30 40 50 ");
    int key = 20;
    EXPECT_EQ(ov_list_find(list, &key), &n[3]);
    key = 25;
    EXPECT_EQ(ov_list_find(list, &key), nullptr);
    key = 99;
    EXPECT_EQ(ov_list_find(list, &key), nullptr);
    EXPECT_EQ(ov_list_remove(list, &n[0]), 1);
    EXPECT_EQ(ov_list_remove(list, &n[0]), 0);
    EXPECT_EQ(values_of(list), "10 20 40 50 ");
    EXPECT_EQ(ov_list_at(list, 4), nullptr);
    ov_list_destroy(list);
}

TEST(PointerList, KeepsEqualElementsInTheOrderTheyCame) {
    std::array<int, 4> n = {1, 1, 0, 1};
    ov_list_t* list = ov_list_new(by_value);
    for (int& v : n)
        ov_list_add(list, &v);
    EXPECT_EQ(ov_list_at(list, 0), &n[2]);
    EXPECT_EQ(ov_list_at(list, 1), &n[0]);
    EXPECT_EQ(ov_list_at(list, 2), &n[1]);
    EXPECT_EQ(ov_list_at(list, 3), &n[3]);
    ov_list_destroy(list);
}

TEST(PointerList, WithoutComparisonKeepsTheOrderOfInsertion) {
    std::array<int, 3> n = {3, 1, 2};
    ov_list_t* list = ov_list_new(nullptr);
    for (int& v : n)
        ov_list_add(list, &v);
    EXPECT_EQ(values_of(list), "3 1 2 ");
    EXPECT_EQ(ov_list_find(list, &n[1]), &n[1]);
    int other = 1;
    EXPECT_EQ(ov_list_find(list, &other), nullptr);
    ov_list_destroy(list);
}

TEST(PointerList, ToleratesNull) {
    int v = 1;
    EXPECT_NE(ov_list_add(nullptr, &v), 0);
    EXPECT_EQ(ov_list_remove(nullptr, &v), 0);
    EXPECT_EQ(ov_list_find(nullptr, &v), nullptr);
    EXPECT_EQ(ov_list_count(nullptr), 0u);
    EXPECT_EQ(ov_list_at(nullptr, 0), nullptr);
    ov_list_destroy(nullptr);
}

} // namespace
