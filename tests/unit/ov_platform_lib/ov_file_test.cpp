#include "ov_file.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/stat.h>

#include "ov_system.h"

#include "../support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

std::string write(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
    return path;
}

std::string content(const std::string& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

size_t entries(const std::string& directory) {
    return static_cast<size_t>(std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

// ---- names -------------------------------------------------------------------------------------------

TEST(FileName, IsTheLastElementOfAPath) {
    struct Case {
        const char* path;
        const char* name;
    };
    for (const Case& each :
         {Case{"a", "a"}, Case{"/a/b.bin", "b.bin"}, Case{"a/", ""}, Case{"", ""}, Case{"/", ""}}) {
        std::array<char, 16> name{};
        strip_path(each.path, name.data());
        EXPECT_STREQ(name.data(), each.name);
        EXPECT_EQ(ov_file_bare_name(each.path), each.name);
    }
}

TEST(FileExists, AlsoWhenItIsADirectory) {
    TempDir dir;
    EXPECT_TRUE(is_file_exist(dir.path().c_str()));
    EXPECT_FALSE(is_file_exist(dir.file("x").c_str()));
    EXPECT_FALSE(is_file_exist(nullptr));
}

TEST(FileIsRegular, ALinkToOneIsNot) {
    TempDir dir;
    const std::string file = write(dir.file("f"), "x");
    fs::create_symlink(file, dir.file("link"));
    EXPECT_TRUE(ov_file_is_regular(file));
    EXPECT_FALSE(ov_file_is_regular(dir.file("link")));
    EXPECT_FALSE(ov_file_is_regular(dir.path()));
    EXPECT_FALSE(ov_file_is_regular(dir.file("none")));
}

// ---- moves and copies --------------------------------------------------------------------------------

TEST(FileMove, ReplacesTheOldOneAndLeavesNothingElse) {
    TempDir dir;
    fs::create_directory(dir.file("to"));
    write(dir.file("from"), "new");
    write(dir.file("to/name"), "old");
    write(dir.file("to/.name.new"), "of one that was killed");
    EXPECT_EQ(ov_file_move(dir.file("from"), dir.file("to/name")), 0);
    EXPECT_EQ(content(dir.file("to/name")), "new");
    EXPECT_FALSE(fs::exists(dir.file("from")));
    EXPECT_EQ(entries(dir.file("to")), 1u);
}

TEST(FileMove, IntoADirectoryTheNameStays) {
    TempDir dir;
    fs::create_directory(dir.file("to"));
    EXPECT_EQ(ov_file_move(write(dir.file("name"), "x"), dir.file("to")), 0);
    EXPECT_EQ(content(dir.file("to/name")), "x");
}

TEST(FileCopy, LeavesTheSource) {
    TempDir dir;
    EXPECT_EQ(ov_file_copy(write(dir.file("a"), "x"), dir.file("b")), 0);
    EXPECT_EQ(content(dir.file("a")), "x");
    EXPECT_EQ(content(dir.file("b")), "x");
}

TEST(FileMove, WhatCantBeMovedLeavesTheTargetAsItWas) {
    TempDir dir;
    write(dir.file("old"), "old");
    EXPECT_EQ(ov_file_move(dir.file("none"), dir.file("old")), -1);
    EXPECT_EQ(ov_file_copy(dir.file("none"), dir.file("old")), -1);
    EXPECT_EQ(ov_file_move(write(dir.file("a"), "x"), dir.file("no/such/directory")), -1);
    EXPECT_EQ(content(dir.file("old")), "old");
    EXPECT_EQ(content(dir.file("a")), "x");
    EXPECT_EQ(entries(dir.path()), 2u);
}

// ---- directories -------------------------------------------------------------------------------------

TEST(Directory, IsMadeWithThoseAboveIt) {
    TempDir dir;
    EXPECT_EQ(ov_directory_make(dir.file("a/b/c")), 0);
    EXPECT_EQ(ov_directory_make(dir.file("a/b/c")), 0);
    EXPECT_TRUE(fs::is_directory(dir.file("a/b/c")));
    write(dir.file("f"), "");
    EXPECT_EQ(ov_directory_make(dir.file("f")), -1);
}

TEST(Directory, IsEmptiedWithoutFollowingLinks) {
    TempDir dir;
    fs::create_directories(dir.file("kept"));
    write(dir.file("kept/f"), "x");
    fs::create_directories(dir.file("d/sub/deep"));
    write(dir.file("d/sub/f"), "x");
    write(dir.file("d/.hidden"), "x");
    fs::create_symlink(dir.file("kept"), dir.file("d/link"));
    EXPECT_EQ(ov_directory_empty(dir.file("d")), 0);
    EXPECT_EQ(entries(dir.file("d")), 0u);
    EXPECT_EQ(content(dir.file("kept/f")), "x");
    EXPECT_EQ(ov_directory_empty(dir.file("none")), -1);
}

// ---- the shell ---------------------------------------------------------------------------------------

TEST(System, GivesWhatSystemGives) {
    EXPECT_EQ(ov_system("exit 3"), 3 << 8);
    EXPECT_EQ(ov_sys("exit %d", 0), 0);
    EXPECT_EQ(ov_sys("exit %d", 3), 1);
    EXPECT_EQ(ov_sys("kill -9 $$"), 1);
}

void on_child(int /*signo*/) {}

TEST(System, PutsTheHandlerOfChildrenBack) {
    struct sigaction mine {};
    struct sigaction found {};
    mine.sa_handler = on_child;
    sigaction(SIGCHLD, &mine, nullptr);
    EXPECT_EQ(ov_sys("true"), 0);
    sigaction(SIGCHLD, nullptr, &found);
    EXPECT_EQ(found.sa_handler, on_child);
    std::signal(SIGCHLD, SIG_DFL);
}

TEST(System, ALineIsCutAt255Characters) {
    const std::string blanks(250, ' ');
    EXPECT_EQ(ov_sys("%sexit 1234", blanks.c_str()), 0) << "exit";
    EXPECT_EQ(ov_sys("%sexit 1", blanks.substr(5).c_str()), 1);
}

TEST(SystemOutput, ComesWithBlanksForLineEnds) {
    std::array<char, 16> text{};
    EXPECT_EQ(get_system_output("printf 'a\\nbc\\n'", text.data(), text.size()), 5);
    EXPECT_STREQ(text.data(), "a bc ");
    EXPECT_EQ(get_system_output("true", text.data(), text.size()), 0);
    EXPECT_STREQ(text.data(), "");
}

TEST(SystemOutput, IsCutAtTheRoomThereIs) {
    std::string text(8, '#');
    EXPECT_EQ(get_system_output("seq 100000", text.data(), 4), 4);
    EXPECT_EQ(text, "1 2 ####");
    EXPECT_EQ(get_system_output("echo x", text.data(), 0), 0);
}

TEST(SystemTime, GoesOn) {
    const uint64_t begin = GetTime_ms();
    EXPECT_EQ(ov_sys("sleep 0.05"), 0);
    EXPECT_GE(GetTime_ms() - begin, 50u);
}

} // namespace
