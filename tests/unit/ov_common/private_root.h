// Runs a test's body in a process of its own whose file system has empty /tmp, /app, /flash, /var, /run and
// /dev/shm: the product's paths are fixed, and nothing of the machine may be touched.
//
//   TEST(Thing, DoesSo) {
//       private_root::run([] { EXPECT_TRUE(...); });
//   }
//
// Works for root and for an ordinary user, by a user namespace. Expectations inside fail the test as
// anywhere else; where the machine allows no namespaces the test is skipped.
#pragma once

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace private_root {

inline constexpr int EXIT_PASSED = 0;
inline constexpr int EXIT_FAILED = 1;
inline constexpr int EXIT_NO_NAMESPACE = 77;
inline constexpr int EXIT_SKIPPED = 78; // what a body ends its process with, having said why

inline bool write_file(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    file.close();
    return bool(file);
}

// The whole file, empty when there is none.
inline std::string read_file(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline bool enter_namespaces() {
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return uid == 0 && unshare(CLONE_NEWNS) == 0;
    const auto map = [](unsigned id) { return std::to_string(id) + " " + std::to_string(id) + " 1\n"; };
    write_file("/proc/self/setgroups", "deny");
    return write_file("/proc/self/uid_map", map(uid)) && write_file("/proc/self/gid_map", map(gid));
}

inline bool mount_empty(const std::string& path) {
    return mount("tmpfs", path.c_str(), "tmpfs", 0, "mode=0777") == 0;
}

// Builds the new root below /tmp and makes it the root.
inline bool enter_root() {
    static const std::vector<std::string> fresh = {"app", "flash", "run", "tmp", "var"};
    namespace fs = std::filesystem;
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return false;
    std::vector<fs::path> entries;
    for (const fs::directory_entry& entry : fs::directory_iterator("/"))
        entries.push_back(entry.path());
    if (!mount_empty("/tmp"))
        return false;
    for (const fs::path& entry : entries) {
        const fs::path place = "/tmp" / entry.filename();
        std::error_code error;
        if (std::find(fresh.begin(), fresh.end(), entry.filename()) != fresh.end())
            continue;
        if (fs::is_symlink(entry)) {
            fs::copy_symlink(entry, place, error);
        } else if (fs::is_directory(entry, error)) {
            fs::create_directory(place, error);
            mount(entry.c_str(), place.c_str(), nullptr, MS_BIND | MS_REC, nullptr); // some may be refused
        }
    }
    for (const std::string& name : fresh)
        fs::create_directory("/tmp/" + name);
    if (chdir("/tmp") != 0)
        return false;
    if (syscall(SYS_pivot_root, ".", ".") == 0)
        umount2(".", MNT_DETACH);
    else if (chroot(".") != 0)
        return false;
    std::error_code error;
    fs::create_directory_symlink("/run", "/var/run", error);
    return chdir("/") == 0 && mount_empty("/dev/shm");
}

// Runs the body in a forked child and gives what waitpid says of it.
inline int run_child(const std::function<void()>& body) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        body();
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? EXIT_FAILED : EXIT_PASSED);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

inline void run(const std::function<void()>& body) {
    const int status = run_child([&] {
        unsetenv("OV_LOG_FILE");
        unsetenv("KRUMROOT");
        if (!enter_namespaces() || !enter_root())
            _exit(EXIT_NO_NAMESPACE);
        body();
    });
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_NO_NAMESPACE)
        GTEST_SKIP() << "no user and mount namespaces on this machine";
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SKIPPED)
        GTEST_SKIP() << "its body says why";
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), EXIT_PASSED) << "the messages stand above";
}

// For a child: from here on every allocation fails. Not under AddressSanitizer.
inline void use_up_memory() {
    const rlimit none = {.rlim_cur = 0, .rlim_max = RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &none);
    for (size_t size = size_t{1} << 20; size >= 16; size /= 2)
        while (void* volatile taken = malloc(size))
            static_cast<void>(taken);
}

// A child whose output is kept.
struct Outcome {
    int status;      // from waitpid
    std::string out; // standard output and error
};

inline Outcome run_captured(const std::function<void()>& body) {
    char path[] = "/tmp/captured.XXXXXX";
    const int fd = mkostemp(path, O_APPEND);
    const int status = run_child([&] {
        dup2(fd, STDOUT_FILENO);
        dup2(fd, STDERR_FILENO);
        body();
    });
    close(fd);
    Outcome outcome = {status, read_file(path)};
    unlink(path);
    return outcome;
}

} // namespace private_root
