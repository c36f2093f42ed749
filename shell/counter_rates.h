#pragma once

// What counters gain in a second, as a column of its own behind a show of counters that is repeated:
//
//   port       counter                                       value       per second
//   -------------------------------------------------------------------------------
//   1/1        rx bytes                                      64000          12800.0
//
// Which shows are of counters, their heading says.

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "line_tail.h"
#include "vty_client.h"

class CounterRates {
public:
    using Clock = std::chrono::steady_clock;

    /// The answer to the next turn of a command, which came at `now`, with the column; as it is if the
    /// command isn't repeated, or shows no counters. The first turn has "-" for all rates, and a counter that
    /// wasn't there before has it too.
    VtyReply rated(const LineTail& tail, VtyReply reply, Clock::time_point now = Clock::now());

private:
    std::string row(const std::string& line, bool clears, double seconds);

    std::map<std::string, uint64_t> before_; // by all of the line but the value
    std::map<std::string, uint64_t> now_;
    std::optional<Clock::time_point> last_;
};
