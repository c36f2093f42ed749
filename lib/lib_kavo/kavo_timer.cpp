#include "kavo_timer.h"

#include "ov_loop_thread.h"

namespace {
kavo_timers_t* g_taken = nullptr;
} // namespace

kavo_timers_t* kavo_timers_taken() {
    return g_taken;
}

void kavo_timers_take(kavo_timers_t* timers) {
    g_taken = timers;
}

bool kavo_timer_arm_taken(void (*function)(struct thread*), void* arg, std::chrono::milliseconds wait,
                          struct thread** ref) {
    ov_assert_on_loop();
    if (g_taken == nullptr)
        return false;
    if (ref == nullptr || *ref == nullptr)
        g_taken->arm(function, arg, wait, ref);
    return true;
}

void kavo_cancel_timer(struct thread** event) {
    ov_assert_on_loop();
    if (g_taken == nullptr || !g_taken->cancel(event))
        thread_cancel(event);
}
