#include "init.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "relay.h"
#include "report.h"

namespace {

[[noreturn]] void report_and_end(int launcher_fd, int status) {
    char message[1 + sizeof status];
    message[0] = MSG_STATUS;
    std::memcpy(message + 1, &status, sizeof status);
    if (write(launcher_fd, message, sizeof message) != static_cast<ssize_t>(sizeof message))
        _exit(SANDBOX_FAILED);
    _exit(0); // and the kernel kills whatever else runs in the sandbox
}

void reap(int launcher_fd, pid_t command) {
    int status = 0;
    pid_t pid = 0;
    while ((pid = waitpid(-1, &status, WNOHANG)) > 0) {
        if (pid == command)
            report_and_end(launcher_fd, status);
    }
}

} // namespace

void be_init(int launcher_fd, const std::vector<std::string>& argv, const sigset_t& mask) {
    const int signal_fd = open_signal_fd();
    pid_t command = 0;
    if (!argv.empty()) {
        command = fork();
        if (command < 0)
            fail_errno("can't fork");
        if (command == 0)
            run_command(argv, mask);
    }
    pollfd fds[2] = {{signal_fd, POLLIN, 0}, {launcher_fd, POLLIN, 0}};
    for (;;) {
        if (poll(fds, 2, -1) < 0 && errno != EINTR)
            fail_errno("poll");
        if (fds[1].revents)
            _exit(SANDBOX_FAILED); // the launcher is gone
        bool from_terminal = false;
        while (int signo = next_signal(signal_fd, from_terminal)) {
            if (signo == SIGCHLD)
                reap(launcher_fd, command);
            else if (command > 0 && !from_terminal)
                kill(command, signo);
        }
    }
}
