// The first process of a sandbox.
#pragma once

#include <csignal>
#include <string>
#include <vector>

// What the first process and the launcher tell each other over their socket pair. The launcher's end
// closing, for whatever reason, ends the sandbox.
enum : char {
    MSG_GO = 'g',     // launcher: go on
    MSG_READY = 'r',  // sandbox: everything stands, the command may start
    MSG_STATUS = 's', // sandbox: the command ended; its wait status (int) follows
};

// Runs argv (nothing when empty), adopts and reaps orphans, passes signals on, and ends the sandbox when the
// command ends, after reporting its status on launcher_fd, or when the launcher is gone.
[[noreturn]] void be_init(int launcher_fd, const std::vector<std::string>& argv, const sigset_t& mask);
