// The thread of the event loop, and the assertion that the caller stands on it.
//
// Nearly everything of the daemon belongs to that thread: what modules keep, the doors of tables as far as
// they run callbacks, the messages to the cards, commands, timers. Other threads there are few (receivers of
// messages, the worker of long actions), and what they may do stands in mmg_access.h. The assertion stands at
// the entrances where another one would do harm:
//
//     ov_assert_on_loop();
//
// costs a comparison. On a wrong thread it writes one error line for each place,
//
//     FUNCTION isn't on the event loop's thread
//
// and goes on, in every build: what happens then is a race that nearly always goes well, and ending a daemon
// that manages a chassis for it would turn that into a sure outage. Tests fail on it: unit tests by
// ov_loop_set_intruder_handler(), system tests by the line.
//
// Any thread.
#pragma once

#include <atomic>

// The calling thread is the loop's from now on. Until somebody says so, every thread counts as that one: a
// program without a loop, or one that is starting, has nothing to guard.
void ov_loop_thread_set();

// Whether the caller stands on the loop's thread.
bool ov_is_on_loop();

// Tells of a place that isn't where it should be; `told` is the place's own.
void ov_loop_intruder(const char* file_name, int line, const char* function, std::atomic_flag& told);

// Called with the function's name each time that a place isn't where it should be, in place of the log. Null
// gives it back to the log.
using ov_loop_intruder_handler_t = void (*)(const char* function);
void ov_loop_set_intruder_handler(ov_loop_intruder_handler_t handler);

#define ov_assert_on_loop()                                                                                  \
    do {                                                                                                     \
        if (!ov_is_on_loop()) {                                                                              \
            static std::atomic_flag ov_told;                                                                 \
            ov_loop_intruder(__FILE_NAME__, __LINE__, __func__, ov_told);                                    \
        }                                                                                                    \
    } while (false)
