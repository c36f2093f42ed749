// Constant command lines through the shell. Never put a word from a manager or an operator into one: such
// words go by ov_command_run(). Any thread, but see ov_system().
#pragma once

#include <cstdint>

// Runs a command line with SIGCHLD at its default, and puts its handler back; what system() gives. The
// handler is the whole process's: a child that ends on another thread meanwhile sets off nothing.
int ov_system(const char* cmd_line);

// Formats a command line, 256 bytes at most with its terminator, and runs it: 0 if it exited with status 0,
// else 1.
int ov_sys(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Runs a command line and takes up to max_len bytes of its standard output, terminated only if there is room,
// line ends turned into blanks. Gives their number; -1, after printing "pipe error!", if it can't be run.
int get_system_output(const char* pCmd, char* pResult, int max_len);

// Milliseconds on a clock that nobody sets, for measuring how long something takes.
uint64_t GetTime_ms();
