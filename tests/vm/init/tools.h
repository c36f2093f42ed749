// What the runner asks of a machine beside programs of the system itself.
//
//   connect PATH    a connection to a Unix stream socket, in place of standard input and output
//   accept PATH     listens at a Unix stream socket, and is the first connection to it
//   watch PATH...   a line "+ PATH" when a socket or file appears there, or another one, "- PATH" when it
//   goes follow PATH     what stands in a file, and what comes to it put PATH        standard input becomes a
//   file, with the directories above it
#pragma once

#include <string>
#include <vector>

// What main returns: 0, 1 with the reason on standard error, 2 for no such tool.
int run_tool(const std::vector<std::string>& words);
