#include <array>
#include <climits>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../support/temp_dir.h"
#include "libovra.h"
#include "ov_file_replace.h"

namespace {

// Where the build puts its programs, seen from this test.
std::string bin_dir() {
    return std::filesystem::canonical("/proc/self/exe").parent_path().parent_path().parent_path() / "bin";
}

// The tools with a store of the test's own.
class ShellTools : public ::testing::Test {
protected:
    // Runs a tool with these arguments, its output going to the file "out"; its exit status.
    int run(std::vector<std::string> args) {
        std::string program = bin_dir() + "/" + args[0];
        std::vector<char*> argv;
        argv.reserve(args.size() + 1);
        for (std::string& arg : args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, dir_.file("out").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t pid = 0;
        int rc = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        int status = -1;
        if (rc != 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
            return -1;
        return WEXITSTATUS(status);
    }
    std::string get(const std::string& name) {
        EXPECT_EQ(run({"ov_env_get", name}), 0) << name;
        return dir_.read("out");
    }

    TempDir dir_;
    ScopedEnv env_{"OV_ENV_DIR", dir_.file("store/env")};
};

TEST_F(ShellTools, GetFailsForWhatIsNotSet) {
    EXPECT_EQ(run({"ov_env_get", "mono_ready"}), 1);
    EXPECT_EQ(dir_.read("out"), "");
}

TEST_F(ShellTools, PutSetsAValueThatGetPrintsWithALineFeed) {
    EXPECT_EQ(run({"ov_env_put", "mono_ready", "1"}), 0);
    EXPECT_EQ(get("mono_ready"), "1\n");
    EXPECT_EQ(dir_.read("store/env/mono_ready"), "1\n");
    EXPECT_EQ(run({"ov_env_put", "mono_ready", "0"}), 0);
    EXPECT_EQ(get("mono_ready"), "0\n");
    EXPECT_EQ(run({"ov_env_get", "other"}), 1);
}

TEST_F(ShellTools, KeepAnyTextAsAValue) {
    for (const std::string& value : {std::string(), std::string("two words; $(echo x) 'q'"),
                                     std::string("a\nb\n"), std::string(70000, 'v')}) {
        EXPECT_EQ(run({"ov_env_put", "v", value}), 0);
        EXPECT_EQ(get("v"), value + "\n");
    }
}

TEST_F(ShellTools, RefuseNamesThatAreNotPlainFileNames) {
    for (const std::string& name : {std::string(), std::string("."), std::string(".."), std::string("../x"),
                                    std::string("a/b"), std::string("-x"), std::string(".x"),
                                    std::string("a b"), std::string("a\n"), std::string(129, 'a')}) {
        EXPECT_EQ(run({"ov_env_put", name, "1"}), 1) << name;
        EXPECT_EQ(run({"ov_env_get", name}), 1) << name;
    }
    EXPECT_EQ(run({"ov_env_put", "_A-b.9", "1"}), 0);
    EXPECT_EQ(run({"ov_env_put", std::string(128, 'a'), "1"}), 0);
}

TEST_F(ShellTools, RefuseAWrongNumberOfArguments) {
    EXPECT_EQ(run({"ov_env_get"}), 2);
    EXPECT_EQ(run({"ov_env_get", "a", "b"}), 2);
    EXPECT_EQ(run({"ov_env_put", "a"}), 2);
    EXPECT_EQ(run({"ov_env_put", "a", "b", "c"}), 2);
    EXPECT_EQ(run({"ov_check_file"}), 1);
}

TEST_F(ShellTools, ReadAValueThatAPersonWroteWithoutLineFeed) {
    run({"ov_env_put", "a", "1"});
    dir_.write("store/env/slot", "7");
    EXPECT_EQ(get("slot"), "7\n");
}

TEST_F(ShellTools, PutFailsWhenTheStoreCannotBeMade) {
    dir_.write("store", "a file in the way");
    EXPECT_EQ(run({"ov_env_put", "a", "1"}), 1);
    EXPECT_EQ(run({"ov_env_get", "a"}), 1);
}

TEST_F(ShellTools, AreFoundThroughPathByTheDaemonsCommandLines) {
    ScopedEnv path("PATH", bin_dir() + ":" + getenv("PATH"));
    constexpr char READY[] = "ov_env_get mono_ready | grep -q 1";
    EXPECT_NE(ov_sys_and_result(READY, nullptr, 0), 0);
    EXPECT_EQ(ov_sys_and_result("ov_env_put mono_ready 1", nullptr, 0), 0);
    EXPECT_EQ(ov_sys_and_result(READY, nullptr, 0), 0);
}

TEST_F(ShellTools, CheckFileTellsAReadableFile) {
    std::string path = dir_.write("image", "x");
    EXPECT_EQ(run({"ov_check_file", path}), 0);
    EXPECT_EQ(run({"ov_check_file", dir_.file("absent")}), 1);
    EXPECT_EQ(run({"ov_check_file", dir_.path()}), 1);
    EXPECT_EQ(run({"ov_check_file", ""}), 1);
    chmod(path.c_str(), 0);
    EXPECT_EQ(run({"ov_check_file", path}), geteuid() == 0 ? 0 : 1);
}

TEST_F(ShellTools, CheckFileLooksAtTheDigestIfThereIsOne) {
    const std::string path = dir_.write("load; x", "load");
    const auto with_digest = [&](const std::string& digest) {
        dir_.write("load; x.md5", digest);
        return run({"ov_check_file", path});
    };
    EXPECT_EQ(with_digest("ec4d1eb36b22d19728e9d1d23ca84d1c  load\n"), 0);
    EXPECT_EQ(with_digest("ec4d1eb36b22d19728e9d1d23ca84d1d  load\n"), 1);
    EXPECT_EQ(with_digest(""), 1);
}

// ---- replacing a file --------------------------------------------------------------------------

TEST(FileReplace, ReadersSeeWholeFilesOnly) {
    TempDir dir;
    std::string path = dir.file("f");
    const std::string a(50000, 'a');
    const std::string b(50000, 'b');
    ASSERT_EQ(ov_file_replace(path, a), 0);
    std::thread writer([&] {
        for (int i = 0; i < 200; i++)
            ov_file_replace(path, i % 2 == 0 ? b : a);
    });
    for (int i = 0; i < 200; i++) {
        std::string seen = dir.read("f");
        EXPECT_TRUE(seen == a || seen == b);
    }
    writer.join();
}

TEST(FileReplace, KeepsPermissionsAndLeavesNothingOverOnFailure) {
    TempDir dir;
    std::string path = dir.write("f", "old");
    chmod(path.c_str(), 0640);
    EXPECT_EQ(ov_file_replace(path, "new"), 0);
    struct stat st {};
    stat(path.c_str(), &st);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    EXPECT_EQ(dir.read("f"), "new");

    std::filesystem::create_directory(dir.file("d"));
    EXPECT_EQ(ov_file_replace(dir.file("d"), "x"), EISDIR);
    EXPECT_EQ(ov_file_replace(dir.file("absent/f"), "x"), ENOENT);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);
}

} // namespace
