#include "report.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

// One write, so that the lines of launcher and inner process don't mix.
void put_line(const char* fmt, va_list args, const char* tail) {
    char text[1024];
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the callers have started it
    std::vsnprintf(text, sizeof text, fmt, args);
    if (tail)
        dprintf(STDERR_FILENO, "gpon-sandbox: %s: %s\n", text, tail);
    else
        dprintf(STDERR_FILENO, "gpon-sandbox: %s\n", text);
}

} // namespace

void report(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    put_line(fmt, args, nullptr);
    va_end(args);
}

void fail_errno(const char* fmt, ...) {
    const char* why = std::strerror(errno);
    va_list args;
    va_start(args, fmt);
    put_line(fmt, args, why);
    va_end(args);
    _exit(SANDBOX_FAILED);
}

void fail(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    put_line(fmt, args, nullptr);
    va_end(args);
    _exit(SANDBOX_FAILED);
}
