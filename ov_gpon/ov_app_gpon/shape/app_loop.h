// The event loop as the application modules see it. Everything here belongs to its thread.
#pragma once

#include "kavo_timer.h"

// The loop, which main hands over at start, before any module needs it; null before.
struct thread_master* app_loop();
void app_loop_set(struct thread_master* loop);

// Calls a handler (a kavo_handler_t) once, after so many milliseconds. A macro, so that "show thread" names
// the handler.
#define app_add_timer_msec(handler, arg, msec)                                                               \
    kavo_add_timer_msec(app_loop(), handler, (arg), (msec), nullptr)
