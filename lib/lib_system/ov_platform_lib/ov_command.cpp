#include "ov_command.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ov_clock.h"

namespace {

bool is_word_character(char c) {
    bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    bool digit = c >= '0' && c <= '9';
    return letter || digit || std::string_view("._-/:@+,=%").find(c) != std::string_view::npos;
}

bool has_parent_element(std::string_view path) {
    while (true) {
        size_t slash = path.find('/');
        if (path.substr(0, slash) == "..")
            return true;
        if (slash == std::string_view::npos)
            return false;
        path.remove_prefix(slash + 1);
    }
}

// ---- the child, up to its program --------------------------------------------------------------------

// All that the child needs, made before it: it may not allocate.
struct Program {
    std::string path;
    std::vector<char*> args;
    const char* directory;
    bool quiet;
    rlim_t file_limit;
    pid_t parent;
    sigset_t no_signals;
};

// A program's path is looked for here, as the shell does.
std::string find_program(const char* name) {
    if (std::string_view(name).find('/') != std::string_view::npos)
        return access(name, X_OK) == 0 ? name : "";
    const char* path = getenv("PATH");
    std::string_view rest = path != nullptr ? path : "/usr/bin:/bin";
    while (true) {
        const size_t colon = rest.find(':');
        const std::string found = std::string(rest.substr(0, colon)) + "/" + name;
        if (access(found.c_str(), X_OK) == 0)
            return found;
        if (colon == std::string_view::npos)
            return {};
        rest.remove_prefix(colon + 1);
    }
}

void default_signals() {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int signo = 1; signo < NSIG; ++signo)
        sigaction(signo, &action, nullptr); // some refuse, and those are at their default
}

// A thread may have a priority that a program's work must not have: the rest of the system would wait for it.
void default_priority() {
    const sched_param none = {};
    sched_setscheduler(0, SCHED_OTHER, &none);
}

void arrange_files(bool quiet) {
    const int null = open("/dev/null", O_RDWR);
    dup2(null, STDIN_FILENO);
    if (quiet) {
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
    }
    // A listening socket that lives on in a program keeps the next daemon from its port.
    if (syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, 0U) == 0)
        return;
    for (long fd = sysconf(_SC_OPEN_MAX) - 1; fd > STDERR_FILENO; --fd)
        close(static_cast<int>(fd));
}

bool limit_files(rlim_t limit) {
    const rlimit both = {limit, limit};
    return limit == 0 || setrlimit(RLIMIT_FSIZE, &both) == 0;
}

[[noreturn]] void become(const Program& program) {
    default_signals();
    default_priority();
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const bool ready = getppid() == program.parent && limit_files(program.file_limit) &&
                       (program.directory == nullptr || chdir(program.directory) == 0);
    arrange_files(program.quiet);
    sigprocmask(SIG_SETMASK, &program.no_signals, nullptr);
    if (ready)
        execve(program.path.c_str(), program.args.data(), environ);
    _exit(127);
}

// The child borrows this process's memory until it is its program: a copy of a daemon's page tables takes
// longer than most programs that it runs. No handler of a signal may run in it meanwhile.
pid_t start(const Program& program) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (child == 0)
        become(program);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return child;
}

// ---- its end -----------------------------------------------------------------------------------------

void nap(std::chrono::microseconds time) {
    const timespec span = {0, static_cast<long>(time.count()) * 1000};
    nanosleep(&span, nullptr);
}

// Looks every 20 ms at last: the caller has the time, and there is no waiting for one child with a limit.
bool ended_within(pid_t child, std::chrono::milliseconds limit, int& status) {
    const auto end = ov_wait_now() + limit;
    for (auto pause = std::chrono::microseconds(200);;
         pause = std::min(pause * 2, std::chrono::microseconds(20000))) {
        if (waitpid(child, &status, WNOHANG) == child)
            return true;
        if (ov_wait_now() >= end)
            return false;
        nap(pause);
    }
}

int status_of(pid_t child, std::chrono::milliseconds limit) {
    int status = 0;
    if (limit.count() > 0 && ended_within(child, limit, status))
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (limit.count() > 0)
        kill(-child, SIGKILL);
    pid_t ended;
    do {
        ended = waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

bool ov_command_word_ok(std::string_view word) {
    if (word.empty() || word.front() == '-')
        return false;
    return std::all_of(word.begin(), word.end(), is_word_character) && !has_parent_element(word);
}

int ov_command_run(std::span<const char* const> argv, const OvCommandSettings& settings) {
    if (argv.empty())
        return -1;
    Program program = {find_program(argv.front()),
                       {},
                       settings.directory,
                       settings.quiet,
                       static_cast<rlim_t>(settings.file_limit),
                       getpid(),
                       {}};
    if (program.path.empty())
        return -1;
    for (const char* word : argv)
        program.args.push_back(const_cast<char*>(word)); // a program gets a copy of them
    program.args.push_back(nullptr);
    sigemptyset(&program.no_signals);
    const pid_t child = start(program);
    return child < 0 ? -1 : status_of(child, settings.limit);
}

int ov_command_run(std::initializer_list<const char*> argv, const OvCommandSettings& settings) {
    return ov_command_run(std::span(argv.begin(), argv.size()), settings);
}
