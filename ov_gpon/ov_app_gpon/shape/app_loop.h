// The event loop as the application modules see it. Everything here belongs to its thread.
#pragma once

#include "kavo_frr.h"

// The loop, which main hands over at start, before any module needs it; null before.
struct thread_master* app_loop();
void app_loop_set(struct thread_master* loop);

// Takes timers in place of the loop, so that tests don't wait: what would be called, with THREAD_ARG `arg`,
// and when. Null gives them back to the loop.
typedef void (*app_timer_tap_t)(void (*function)(struct thread*), void* arg, long milliseconds);
extern app_timer_tap_t app_timer_tap;
void app_timer_set_tap(app_timer_tap_t tap);

// Calls a handler (a kavo_handler_t) once, after so many milliseconds. A macro, so that "show thread" names
// the handler.
#define app_add_timer_msec(handler, arg, milliseconds)                                                       \
    do {                                                                                                     \
        if (app_timer_tap != nullptr)                                                                        \
            app_timer_tap(kavo_handle<handler>, (arg), (milliseconds));                                      \
        else                                                                                                 \
            kavo_add_timer_msec(app_loop(), handler, (arg), (milliseconds), nullptr);                        \
    } while (false)
