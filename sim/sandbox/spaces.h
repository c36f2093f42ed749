// Namespaces: making them for a new sandbox, and joining those of an existing one.
#pragma once

#include <sys/types.h>

// Forks a child that is the first process of new mount, network, process and IPC namespaces, and of a user
// namespace in which it is root when the caller isn't privileged. Returns as fork does: the child's pid,
// or 0 in the child. The child must not go on before the parent has called map_ids. Ends the process, and
// says which namespaces aren't to be had, when there can be no sandbox.
// user_space: set to whether a user namespace was made.
pid_t fork_into_new_spaces(bool& user_space);

// Parent's part: makes the caller's user and group the child's root. Ends the process on failure.
void map_ids(pid_t child);

// Brings the loopback interface of the caller's network namespace up.
void raise_loopback();

// Puts the calling process into the namespaces of pid, the first process of a sandbox; children of the
// caller are then inside. Ends the process when pid isn't a sandbox or may not be entered.
void join_spaces_of(pid_t pid);
