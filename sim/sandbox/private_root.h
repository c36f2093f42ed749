// The file system that a sandbox sees: the machine's, with fresh tmpfs in the places where the daemon
// keeps its files.
#pragma once

#include <string>
#include <vector>

// Directories of the machine that stay visible although they lie below a fresh place. Absolute, symbolic
// links resolved.
struct KeptDirs {
    std::vector<std::string> required; // from the command line: a bad one ends the launcher
    std::vector<std::string> wanted;   // by default: one that can't be kept is passed over
};

// Replaces the root of the calling process. Call it in a mount and pid namespace of its own, as their
// first process; the namespace's mounts become private, so nothing shows outside. Nothing is created
// on the machine's own file systems. Ends the process when a step fails.
void enter_private_root(const KeptDirs& kept);
