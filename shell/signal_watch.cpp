#include "signal_watch.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace {

int write_ends[NSIG];

void note(int signo) {
    const int error = errno;
    // A full pipe has the news already.
    [[maybe_unused]] const ssize_t written = write(write_ends[signo], "", 1);
    errno = error;
}

} // namespace

SignalWatch::SignalWatch(int signo_given) : signo_(signo_given) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::runtime_error("no pipe for a signal");
    read_end_ = ends[0];
    write_ends[signo_] = ends[1];
    struct sigaction action {};
    action.sa_handler = note;
    sigaction(signo_, &action, nullptr);
}

SignalWatch::~SignalWatch() {
    signal(signo_, SIG_DFL);
    close(read_end_);
    close(write_ends[signo_]);
}

bool SignalWatch::take() {
    char bytes[64];
    bool any = false;
    while (read(read_end_, bytes, sizeof(bytes)) > 0)
        any = true;
    return any;
}
