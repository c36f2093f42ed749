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

signal_watch::signal_watch(int signo_given) : signo(signo_given) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::runtime_error("no pipe for a signal");
    read_end = ends[0];
    write_ends[signo] = ends[1];
    struct sigaction action {};
    action.sa_handler = note;
    sigaction(signo, &action, nullptr);
}

signal_watch::~signal_watch() {
    signal(signo, SIG_DFL);
    close(read_end);
    close(write_ends[signo]);
}

bool signal_watch::take() {
    char bytes[64];
    bool any = false;
    while (read(read_end, bytes, sizeof(bytes)) > 0)
        any = true;
    return any;
}
