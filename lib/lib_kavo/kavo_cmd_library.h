#pragma once

// Which of the commands that the library brings along an operator has. Most of them are for another program:
// they set what nothing here reads, answer in that program's name, or need parts of it that aren't there.

/// Have the command trees of the nodes built when all commands are known. Call before cmd_init().
void kavo_cmd_defer_trees();

/// Take away the library's commands on all nodes but those of a list, and put "write" and its help as it is
/// here. Call once, when all nodes and commands are installed; a node installed later has them all.
void kavo_cmd_keep_listed();
