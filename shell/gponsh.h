#pragma once

// The ways of gponsh to work: on a terminal, on lines that are given, on a file.

#include <string>
#include <vector>

/// What gponsh ends with.
enum Exit { EXIT_OK = 0, EXIT_REFUSED = 1, EXIT_USAGE = 2, EXIT_LOST = 3, EXIT_INTERRUPTED = 130 };

/// What the command line says.
struct Options {
    std::string socket = "/var/run/gpon.vty";
    std::vector<std::string> lines;
    std::string file;
    bool apply = false;
    bool check = false;
};

/// Ctrl-C ended what runs.
struct Interrupted {};

/// To standard output.
void print(const std::string& text);

/// "exit" and "quit", or short for them: the daemon may hang up on these.
bool may_end_session(const std::string& line);

/// Run the lines of -c, or those of standard input. Throws VtyClientError, as the others do.
Exit run_lines(const Options& options);

/// Run the file of -f, or compare it with what the system has. Throws Interrupted, too.
Exit run_file(const Options& options);

/// Serve the operator at the terminal.
Exit run_terminal(const Options& options);
