#pragma once

// The ways of gponsh to work: on a terminal, on lines that are given, on a file.

#include <string>
#include <vector>

/// What gponsh ends with.
enum exit_t { EXIT_OK = 0, EXIT_REFUSED = 1, EXIT_USAGE = 2, EXIT_LOST = 3, EXIT_INTERRUPTED = 130 };

/// What the command line says.
struct options_t {
    std::string socket = "/var/run/gpon.vty";
    std::vector<std::string> lines;
    std::string file;
    bool apply = false;
    bool check = false;
};

/// Ctrl-C ended what runs.
struct interrupted_t {};

/// To standard output.
void print(const std::string& text);

/// "exit" and "quit", or short for them: the daemon may hang up on these.
bool may_end_session(const std::string& line);

/// Run the lines of -c, or those of standard input. Throws vty_client_error, as the others do.
exit_t run_lines(const options_t& options);

/// Run the file of -f, or compare it with what the system has. Throws interrupted_t, too.
exit_t run_file(const options_t& options);

/// Serve the operator at the terminal.
exit_t run_terminal(const options_t& options);
