// Programs run from an argument vector: for command lines that carry a word from outside, which must not
// meet a shell.
#pragma once

#include <initializer_list>
#include <string_view>

// Whether a word from outside (file name, host, directory, table name) may stand in a command line: not
// empty, only letters, digits and . _ - / : @ + , = %, no '-' in front, and no ".." as a path element.
bool ov_command_word_ok(std::string_view word);

// Runs a program, found through PATH, and waits for its end. Returns its exit status, or -1 when it couldn't
// be started or was ended by a signal. Any thread.
int ov_command_run(std::initializer_list<const char*> argv);
