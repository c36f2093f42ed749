#include "run_program.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int NOT_STARTED = 127;
constexpr std::chrono::milliseconds LOOK(200); // how soon an end that is asked for is seen

volatile std::sig_atomic_t g_end_asked = 0;

void note_end(int) {
    g_end_asked = 1;
}

[[noreturn]] void become(const std::vector<std::string>& argv, int out) {
    std::vector<char*> words;
    for (const auto& word : argv)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    setpgid(0, 0);
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(out, STDERR_FILENO);
    execvp(words[0], words.data());
    _exit(NOT_STARTED);
}

// False when its time was up, or an end was asked for.
bool read_until(int fd, Clock::time_point due, size_t most, std::string& output) {
    std::array<char, 65536> piece;
    for (;;) {
        if (end_asked() || Clock::now() >= due)
            return false;
        pollfd ready = {fd, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(LOOK.count())) <= 0)
            continue;
        const ssize_t got = read(fd, piece.data(), piece.size());
        if (got == 0 || (got < 0 && errno != EINTR))
            return true;
        if (got > 0)
            output.append(piece.data(),
                          std::min(static_cast<size_t>(got), most - std::min(most, output.size())));
    }
}

std::string trouble_of(int status, const std::string& program) {
    if (WIFSIGNALED(status))
        return program + " was ended by signal " + std::to_string(WTERMSIG(status));
    if (WEXITSTATUS(status) == NOT_STARTED)
        return program + " can't be started";
    return WEXITSTATUS(status) == 0 ? ""
                                    : program + " ended with status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

void watch_for_end() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        action.sa_handler = note_end;
        sigaction(number, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

bool end_asked() {
    return g_end_asked != 0;
}

ProgramResult run_program(const std::vector<std::string>& argv, std::chrono::seconds limit, size_t most) {
    ProgramResult result;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        result.trouble = std::strerror(errno);
        return result;
    }
    const pid_t child = fork();
    if (child == 0)
        become(argv, ends[1]);
    if (child > 0)
        setpgid(child, child); // whichever of the two is first
    close(ends[1]);
    int status = 0;
    if (child < 0) {
        result.trouble = std::strerror(errno);
    } else {
        result.timed_out = !read_until(ends[0], Clock::now() + limit, most, result.output);
        if (result.timed_out)
            kill(-child, SIGKILL);
        while (waitpid(child, &status, 0) < 0 && errno == EINTR)
            ;
        result.trouble = result.timed_out ? "no answer within " + std::to_string(limit.count()) + " s"
                                          : trouble_of(status, argv[0]);
    }
    close(ends[0]);
    return result;
}
