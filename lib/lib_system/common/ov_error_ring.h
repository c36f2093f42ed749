// The log's errors, counted since the start, and the last few of them, kept for the operator.
//
// The log feeds the ring; lines below the error level don't enter it. Safe from any thread, not from a
// signal handler.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

inline constexpr size_t OV_ERROR_RING_LINES = 16;
inline constexpr size_t OV_ERROR_RING_TEXT = 200; // characters of a kept line; longer ones are cut

struct ov_error_line_t {
    time_t time;
    int level; // OV_LOG_LEVEL
    std::string module;
    std::string text;
};

struct ov_error_counts_t {
    uint64_t errors; // from OV_LOG_LVL_ERROR up to below OV_LOG_LVL_FATAL
    uint64_t fatals; // OV_LOG_LVL_FATAL and above
};

// Counts a line and keeps it in the place of the oldest. Null texts count as empty.
void ov_error_ring_add(int level, const char* module, const char* text);

ov_error_counts_t ov_error_ring_counts();
// The kept lines, oldest first.
std::vector<ov_error_line_t> ov_error_ring_lines();
// Forgets lines and counts.
void ov_error_ring_clear();
