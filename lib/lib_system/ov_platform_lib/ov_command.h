// Programs run from an argument vector: for command lines that carry a word from outside, which must not
// meet a shell.
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

// Whether a word from outside (file name, host, directory, table name) may stand in a command line: not
// empty, only letters, digits and . _ - / : @ + , = %, no '-' in front, and no ".." as a path element.
bool ov_command_word_ok(std::string_view word);

// What a program meets beside its words.
struct OvCommandSettings {
    bool quiet = false;              // what it prints, errors too, goes to /dev/null
    const char* directory = nullptr; // where it starts; null: here
    std::chrono::milliseconds limit{
        0};                  // past it the program is killed, with those that it has started; 0: none
    uint64_t file_limit = 0; // bytes of the longest file that it may write, past which it is killed; 0: any
};

// Runs a program, found through PATH, and waits for its end. Returns its exit status, or -1 when it couldn't
// be started, was ended by a signal or took too long. Any thread, each for its own program only: nobody
// else's children are waited for.
//
// The program has a process group of its own, /dev/null as its standard input, no other file of this process
// but the two for what it prints, no signal blocked or ignored, and no priority of its caller's. It is killed
// when the calling thread ends before it, so that a transfer doesn't outlive the daemon that started it.
int ov_command_run(std::span<const char* const> argv, const OvCommandSettings& settings);
int ov_command_run(std::initializer_list<const char*> argv, const OvCommandSettings& settings = {});
