// What the launcher and the sandbox's first process share: signals that are passed on, and the exit status.
#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

// Blocks the signals that a relay handles, and SIGCHLD, for the calling process; gives the mask of before.
sigset_t block_relayed_signals();

// A descriptor that becomes readable with each of them.
int open_signal_fd();

// One signal from that descriptor; 0 when there is none. A signal that a terminal sent has reached the
// whole process group already: from_terminal says so, and it isn't passed on.
int next_signal(int fd, bool& from_terminal);

// Sets the kernel to kill the calling process when its parent ends, however that ends.
void die_with_parent();

// The child's part of starting a command: restores the mask and runs argv through PATH. Doesn't return.
[[noreturn]] void run_command(const std::vector<std::string>& argv, const sigset_t& mask);

// Ends the calling process as a process with this wait status ended: the same exit status or signal.
[[noreturn]] void end_like(int wait_status);
