#include "ov_system.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <sys/wait.h>

#include "ov_clock.h"

namespace {

constexpr size_t MAX_COMMAND = 256; // bytes of a formatted command line, with its terminator

} // namespace

int ov_system(const char* cmd_line) {
    struct sigaction standard {};
    struct sigaction before {};
    standard.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &standard, &before);
    const int status = system(cmd_line); // NOLINT(cert-env33-c): the line is constant
    sigaction(SIGCHLD, &before, nullptr);
    return status;
}

int ov_sys(const char* format, ...) {
    std::array<char, MAX_COMMAND> cmd{};
    va_list args;
    va_start(args, format);
    vsnprintf(cmd.data(), cmd.size(), format, args);
    va_end(args);
    const int status = ov_system(cmd.data());
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
}

int get_system_output(const char* pCmd, char* pResult, int max_len) {
    FILE* pipe = popen(pCmd, "re"); // NOLINT(cert-env33-c): the line is constant
    if (pipe == nullptr) {
        printf("pipe error!");
        return -1;
    }
    const auto room = static_cast<size_t>(std::max(max_len, 0));
    const size_t length = fread(pResult, 1, room, pipe);
    std::array<char, 512> more{}; // a command that can't write would end by SIGPIPE
    while (fread(more.data(), 1, more.size(), pipe) > 0) {
    }
    pclose(pipe);
    std::replace(pResult, pResult + length, '\n', ' ');
    if (length < room)
        pResult[length] = '\0';
    return static_cast<int>(length);
}

uint64_t GetTime_ms() {
    const auto since = ov_wait_now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}
