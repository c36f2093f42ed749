// The processes of the system, as the kernel tells them: "ps" has other options, columns and texts on each
// platform.
#pragma once

#include <string>

// A line for each, in the order of their pids, below a heading: pid, that of the parent, state, threads,
// resident memory in KB, name. The words that a process was started with aren't told: passwords may be among
// them.
std::string process_list();
