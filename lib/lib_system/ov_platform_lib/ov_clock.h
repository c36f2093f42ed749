// The daemon's clocks: whoever wants to know the time asks here, so that a test can say what time it is and
// let a quarter of an hour pass in no time. Any thread.
//
// Two clocks, which may be set by a test:
//  - the wall clock says what is noted for people: the time stamp of a row, of an alarm, the start of a
//    quarter hour. It jumps when somebody sets the system's time, back as well.
//  - the monotonic clock says how long something took or is due; nobody sets it. Timers (kavo_timer.h) go by
//    it.
//
// And one that no test sets: a thread that waits in the kernel for another process (a card's reply, room in
// a socket) measures its deadline by ov_wait_now(), because the kernel's waiting goes by the real time.
//
// Beside these are left: what compares a file's times with the kernel's clock, what waits on a condition
// variable, and the crash report, which may call nothing.
#pragma once

#include <chrono>
#include <ctime>
#include <sys/types.h>

// A device is in service after 2038; where a processor's times have 32 bits, the build's flags widen them.
static_assert(sizeof(time_t) == 8 && sizeof(off_t) == 8);

// A point on the monotonic clock, and of a wait.
using ov_mono_time_t = std::chrono::steady_clock::time_point;

// The wall clock: seconds since 1970, as time() has them; and with nanoseconds.
time_t ov_wall_time();
timespec ov_wall_now();

// The monotonic clock.
ov_mono_time_t ov_mono_now();

// The clock of waits in the kernel: the real one, also while a test has set the others.
ov_mono_time_t ov_wait_now();

// ---- for tests --------------------------------------------------------------------------------------------

// A clock in place of the system's.
struct ov_clock_source_t {
    timespec (*wall)();
    ov_mono_time_t (*mono)();
};

// From now on both clocks are `source`'s, which must stay valid; null gives them back to the system.
void ov_clock_set_source(const ov_clock_source_t* source);
