#pragma once

// The daemon's commands in this process: its command tables in an own instance of the library's
// command tree, without their handlers. Gives completion, help and the reading of short forms
// without a question to the daemon.

#include <span>
#include <string>
#include <vector>

#include "kavo_cmd.h"
#include "shell_mode.h"

/// One line of help.
struct CommandHelp {
    /// A keyword, a variable ("IFNAME", "(1-128)"), or "<cr>".
    std::string word;
    std::string help;
    /// A keyword, which can be completed.
    bool keyword;
};

/// The daemon's commands, without handlers that do anything (command_table.cpp).
std::span<const kavo_cmd_t> daemon_commands();

/// What the shell does by itself, beside them.
std::span<const kavo_cmd_t> shell_commands();

class CommandTree {
public:
    /// Install the nodes of the daemon, the library's commands, the shell's own and these. The library has
    /// one tree in a process: there may be one object only.
    explicit CommandTree(std::span<const kavo_cmd_t> commands = daemon_commands());
    CommandTree(const CommandTree&) = delete;
    CommandTree& operator=(const CommandTree&) = delete;

    /// Read a line as the daemon would in node; see Understand.
    std::optional<Understood> understand(enum node_type node, const std::string& line) const;

    /// What can stand where text ends: words that continue its last word, or any word if it ends in
    /// a blank. Of the nearest node up from node whose commands fit at all.
    std::vector<CommandHelp> describe(enum node_type node, const std::string& text) const;

    /// The keywords among them.
    std::vector<std::string> complete(enum node_type node, const std::string& text) const;

    /// Where in a line that isn't understood the trouble begins.
    struct Trouble {
        size_t offset;                       // of the first word that fits nothing or too much
        std::vector<std::string> candidates; // keywords that it could be short for; empty if none fits
    };
    /// Nothing if the line is understood, or each word by itself fits.
    std::optional<Trouble> find_trouble(enum node_type node, const std::string& line) const;
};
