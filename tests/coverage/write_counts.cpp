// Linked into every program of the coverage preset. The compiler's library writes the counts of a process in
// exit() alone; here they are also written before _exit(), abort() and raise(), and at a signal that stands
// in for SIGKILL: whoever is about to kill a program sends SIGRTMAX instead, and the program kills itself
// once its counts are written. The first process of a sandbox passes it on to all others, as its end is
// theirs.

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <sys/types.h>
#include <unistd.h>

extern "C" {
void __gcov_dump();
void __gcov_reset();
[[noreturn]] void __real__exit(int status);
[[noreturn]] void __real_abort();
int __real_raise(int signo);
}

namespace {

const int KILL_SIGNAL = SIGRTMAX;

void write_counts() {
    __gcov_dump();
    __gcov_reset(); // or nothing could be written again
}

// All of this process namespace but the caller; two seconds at most.
void end_others() {
    const timespec moment = {.tv_sec = 0, .tv_nsec = 5'000'000};
    kill(-1, KILL_SIGNAL); // the end of programs that don't know it
    for (int tries = 0; tries < 400 && (kill(-1, 0) == 0 || errno != ESRCH); tries++)
        nanosleep(&moment, nullptr);
}

bool first_of_sandbox() {
    return getpid() == 1;
}

void be_killed(int /*signo*/) {
    if (first_of_sandbox())
        end_others();
    write_counts();
    if (first_of_sandbox())
        __real__exit(0); // no signal of its own ends it
    kill(getpid(), SIGKILL);
}

__attribute__((constructor)) void watch_for_the_end() {
    struct sigaction action {};
    action.sa_handler = be_killed;
    sigfillset(&action.sa_mask);
    sigaction(KILL_SIGNAL, &action, nullptr);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, KILL_SIGNAL);
    sigprocmask(SIG_UNBLOCK, &only, nullptr);
}

} // namespace

extern "C" {

[[noreturn]] void __wrap__exit(int status) {
    if (first_of_sandbox())
        end_others();
    write_counts();
    __real__exit(status);
}

[[noreturn]] void __wrap_abort() {
    write_counts();
    __real_abort();
}

int __wrap_raise(int signo) {
    write_counts();
    return __real_raise(signo);
}
}
