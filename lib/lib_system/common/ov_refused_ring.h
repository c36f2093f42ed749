// The requests that were refused last, kept for whoever asks why: what was asked, with what result it ended,
// and the lines that it left in the log. ov_refusal.h fills the ring, "show refused" shows it.
//
// Of each door the last OV_REFUSED_PER_DOOR are kept, so that a card that repeats itself doesn't push out
// what an operator did. Numbers count up over all doors, from 1 since the start. What is kept has no
// passwords and no keys: whoever states a text sees to that. Safe from any thread, not from a signal handler.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

inline constexpr size_t OV_REFUSED_PER_DOOR = 100;
inline constexpr size_t OV_REFUSED_LINES = 12;      // log lines that are kept of one request
inline constexpr size_t OV_REFUSED_LINE_TEXT = 240; // characters of one; longer ones are cut

struct ov_refused_line_t {
    int level; // OV_LOG_LEVEL, from OV_LOG_LVL_NOTICE on
    std::string module;
    std::string text;
};

struct ov_refused_t {
    uint32_t number = 0;
    time_t at = 0;      // wall clock, seconds
    std::string door;   // "vty", "snmp", "action", "card", "controller", ...
    std::string who;    // object that the session stood on, or ""
    std::string what;   // the command, the variable, the action; "" where nobody said
    std::string result; // what whoever asked was told: "104006 KAVO_CLI_FAILED", "10 wrongValue"; or ""
    std::string code;   // the application's result behind it: "1003 OV_GPON_RET_BAD_PARAM"; or ""
    std::string row;    // "sTcontTable gpon-onu1/1:1 T-CONT 1", "-"
    std::string reason;
    std::vector<ov_refused_line_t> lines; // in their order
    unsigned lines_left_out = 0;          // behind those
};

// Keeps a request, in the place of its door's oldest; gives its number.
uint32_t ov_refused_add(ov_refused_t refused);

// The kept ones in the order of their numbers; one of them; how many each door had since the start.
std::vector<ov_refused_t> ov_refused_list();
std::optional<ov_refused_t> ov_refused_find(uint32_t number);
std::map<std::string, uint64_t> ov_refused_counts();
// Forgets all, numbers included; for tests.
void ov_refused_clear();
