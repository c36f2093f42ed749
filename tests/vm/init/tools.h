// What the runner asks of a machine beside programs of the system itself.
//
//   connect PATH    a connection to a Unix stream socket, in place of standard input and output
//   accept PATH     listens at a Unix stream socket, and is the first connection to it
//   processes       a line for each process: pid, parent, its pid namespace, state, threads, its pids in
//   nested
//                   namespaces (with commas), name
//   kill SIGNAL PID...
#pragma once

#include <string>
#include <vector>

// What main returns: 0, 1 with the reason on standard error, 2 for no such tool.
int run_tool(const std::vector<std::string>& words);
