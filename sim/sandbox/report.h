// How the launcher says what went wrong, and the statuses it exits with.
#pragma once

// Exit statuses of the launcher itself, those of env(1) and chroot(1); any other is the command's.
enum : int { SANDBOX_FAILED = 125, COMMAND_NOT_RUN = 126, COMMAND_NOT_FOUND = 127 };

// Prints "gpon-sandbox: TEXT" to standard error.
__attribute__((format(printf, 1, 2))) void report(const char* fmt, ...);

// The same with ": " and the text of errno behind it, then ends the process at once with SANDBOX_FAILED.
__attribute__((format(printf, 1, 2), noreturn)) void fail_errno(const char* fmt, ...);
// The same without errno.
__attribute__((format(printf, 1, 2), noreturn)) void fail(const char* fmt, ...);
