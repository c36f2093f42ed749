#pragma once

// The one seam through which the daemon's timers are armed: libfrr's loop runs them, or, in a test, whoever
// has taken the loop's place, so that time passes when the test says so.
//
// Everything that is to happen later goes through here: kavo_add_timer() and kavo_add_timer_msec() for one
// shot, agentx_alarm_register() (agentx.h) for the SNMP library's repeating alarms. Only the SNMP library's
// own timeouts (resends, its look for the master agent) stay with the loop: they go by a clock of that
// library.
//
// Event loop's thread only.

#include <chrono>
#include <functional>

#include "kavo_frr.h"

/// Takes the loop's place. A test's clock (tests/unit/support/test_clock.h) is one.
class kavo_timers_t {
public:
    virtual ~kavo_timers_t() = default;

    /// A timer that runs function once, with THREAD_ARG arg, when `wait` is over. ref is as for
    /// kavo_add_read(): never of an armed timer here.
    virtual void arm(void (*function)(struct thread*), void* arg, std::chrono::milliseconds wait,
                     struct thread** ref) = 0;
    /// Takes an armed timer back and clears *ref; false if it isn't one of these.
    virtual bool cancel(struct thread** ref) = 0;
    /// An alarm: runs `ring` after each `period`, or after the first only. Its number, never 0.
    virtual unsigned int add_alarm(std::chrono::microseconds period, bool repeats,
                                   std::function<void(unsigned int)> ring) = 0;
    /// Takes an alarm back; an unknown number is ignored.
    virtual void remove_alarm(unsigned int number) = 0;
};

/// Who has taken the loop's place; null, as the program starts: the loop.
kavo_timers_t* kavo_timers_taken();
/// Timers armed from now on go there; it must stay valid until null is set.
void kavo_timers_take(kavo_timers_t* timers);

/// Has a timer been taken from the loop? What the macros below ask first; true too when ref is of an armed
/// one.
bool kavo_timer_arm_taken(void (*function)(struct thread*), void* arg, std::chrono::milliseconds wait,
                          struct thread** ref);

/// Take a timer back and clear *event; nothing for null there.
void kavo_cancel_timer(struct thread** event);

/// Call the handler of a running event (kavo_loop_running) once again after so many milliseconds. ref as for
/// kavo_add_read().
inline void kavo_add_timer_again(const struct thread& running, long msec, struct thread** ref) {
    if (!kavo_timer_arm_taken(running.func, running.arg, std::chrono::milliseconds(msec), ref))
        thread_add_timer_msec(running.master, running.func, running.arg, msec, ref);
}

// Macros, so that "show thread" names the handler; they evaluate their arguments twice.

/// Call handler once after so many seconds. arg, ref as for kavo_add_read().
#define kavo_add_timer(master, handler, arg, sec, ref)                                                       \
    do {                                                                                                     \
        if (!kavo_timer_arm_taken(kavo_handle<handler>, (arg), std::chrono::seconds(sec), (ref)))            \
            thread_add_timer((master), kavo_handle<handler>, (arg), (sec), (ref));                           \
    } while (false)

/// Call handler once after so many milliseconds. arg, ref as for kavo_add_read().
#define kavo_add_timer_msec(master, handler, arg, msec, ref)                                                 \
    do {                                                                                                     \
        if (!kavo_timer_arm_taken(kavo_handle<handler>, (arg), std::chrono::milliseconds(msec), (ref)))      \
            thread_add_timer_msec((master), kavo_handle<handler>, (arg), (msec), (ref));                     \
    } while (false)
