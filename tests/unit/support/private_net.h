// Runs a test body in a child process with a loopback network of its own, so that fixed ports are free.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace private_net {

inline constexpr int NO_NETWORK = 77;
inline constexpr int SKIPPED = 78; // what a body ends its process with, having said why

inline bool enter() {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0 && unshare(CLONE_NEWNET) != 0)
        return false;
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq loopback = {};
    std::memcpy(loopback.ifr_name, "lo", 3);
    loopback.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool up = fd >= 0 && ioctl(fd, SIOCSIFFLAGS, &loopback) == 0;
    close(fd);
    return up;
}

// Failures of the body are printed by the child and fail the calling test. A machine that gives no
// private network skips it.
inline void run(const std::function<void()>& body) {
    fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (!enter())
            _exit(NO_NETWORK);
        body();
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0); // what else the program holds is the parent's
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "child ended by signal " << WTERMSIG(status);
    if (WEXITSTATUS(status) == NO_NETWORK)
        GTEST_SKIP() << "no private network on this machine";
    if (WEXITSTATUS(status) == SKIPPED)
        GTEST_SKIP() << "its body says why";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace private_net
