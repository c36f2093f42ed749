#include "relay.h"

#include <cerrno>
#include <cstring>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "report.h"

namespace {

sigset_t relayed_signals() {
    sigset_t set;
    sigemptyset(&set);
    for (int signo : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGCONT, SIGWINCH, SIGCHLD})
        sigaddset(&set, signo);
    return set;
}

} // namespace

sigset_t block_relayed_signals() {
    sigset_t set = relayed_signals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &set, &before);
    return before;
}

int open_signal_fd() {
    sigset_t set = relayed_signals();
    int fd = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (fd < 0)
        fail_errno("can't watch signals");
    return fd;
}

int next_signal(int fd, bool& from_terminal) {
    signalfd_siginfo info{};
    if (read(fd, &info, sizeof info) != static_cast<ssize_t>(sizeof info))
        return 0;
    from_terminal = info.ssi_code > 0;
    return static_cast<int>(info.ssi_signo);
}

void die_with_parent() {
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0)
        fail_errno("can't tie the sandbox to the launcher");
}

void run_command(const std::vector<std::string>& argv, const sigset_t& mask) {
    std::vector<char*> args;
    args.reserve(argv.size() + 1);
    for (const std::string& arg : argv)
        args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    execvp(args[0], args.data());
    const int error = errno;
    report("can't run %s: %s", args[0], strerrordesc_np(error));
    _exit(error == ENOENT ? COMMAND_NOT_FOUND : COMMAND_NOT_RUN);
}

void end_like(int wait_status) {
    if (!WIFSIGNALED(wait_status))
        _exit(WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : SANDBOX_FAILED);
    const int signo = WTERMSIG(wait_status);
    const rlimit no_core{0, 0}; // the command's own dump, if any, is the one that matters
    setrlimit(RLIMIT_CORE, &no_core);
    signal(signo, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signo);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    raise(signo);
    _exit(128 + signo);
}
