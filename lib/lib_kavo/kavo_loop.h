#pragma once

// The event loop watches itself: whoever holds it up is named, because everybody else (operators, managers,
// the line cards' events) waits meanwhile.
//
// Each run of an event's handler is measured by the wall. One above KAVO_LOOP_SLOW leaves a line,
//
//     handler vtysh_read held the loop for 312 ms: show gpon onu <1-128>
//
// of notice level, with what it was doing where that was said (the command's declaration). The limit is what
// an operator begins to feel, and well above what a handler needs that sends no request to a card; a card's
// reply may take longer, and then this is where the time went. At most KAVO_LOOP_LINES lines are written in
// KAVO_LOOP_LINES_TIME, so that a load from outside can't fill the log; how many were left out stands in
// front of the next one. "show loop" lists the handlers with the longest runs.
//
// Event loop's thread only.

#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

struct thread;
struct thread_master;

inline constexpr std::chrono::milliseconds KAVO_LOOP_SLOW{100};
inline constexpr unsigned KAVO_LOOP_LINES = 10;
inline constexpr std::chrono::seconds KAVO_LOOP_LINES_TIME{60};

/// Run the events of a loop, for as long as it has any.
void kavo_loop_run(struct thread_master* master);
/// Run one event that thread_fetch() gave, as thread_call() does, and note how long it took.
void kavo_loop_call(struct thread* event);

/// What the running handler does, for its line; the text must stay valid. Forgotten when the handler ends.
void kavo_loop_doing(const char* what);

/// The event that kavo_loop_call() runs at present; null within none.
const struct thread* kavo_loop_running();

/// What the runs of one handler took since the start.
struct kavo_loop_handler_t {
    std::string name;
    std::string armed_at; // a place that arms it: "gpon_main.cpp:223"
    uint32_t runs = 0;
    std::chrono::microseconds total{0};
    std::chrono::microseconds longest{0};
    // Of these what the loop's thread itself took of a processor. The longest may be another run: on a busy
    // machine a run is long because somebody else had the processor, or because a card was waited for.
    std::chrono::microseconds cpu_total{0};
    std::chrono::microseconds cpu_longest{0};
    time_t longest_at = 0; // wall clock, at its start
    std::string doing;     // what the longest one did, empty where nobody said
};
/// All handlers that have run, the one with the longest run first.
std::vector<kavo_loop_handler_t> kavo_loop_handlers();
/// How many runs were above the limit.
uint32_t kavo_loop_slow_runs();
