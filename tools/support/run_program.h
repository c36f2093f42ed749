// Programs whose output is wanted, and that mustn't hold up who asks.
#pragma once

#include <chrono>
#include <string>
#include <vector>

struct ProgramResult {
    std::string output;  // both kinds
    std::string trouble; // empty: it ended by itself with status 0
    bool timed_out = false;
};

// Runs it without input. What it prints behind `most` bytes is dropped; when its time is up it is killed,
// with what it has started. A signal that asks this program to end (end_asked) ends it too.
ProgramResult run_program(const std::vector<std::string>& argv, std::chrono::seconds limit, size_t most);

// SIGINT, SIGTERM and SIGHUP are noted from now on, and end nothing by themselves.
void watch_for_end();
bool end_asked();
