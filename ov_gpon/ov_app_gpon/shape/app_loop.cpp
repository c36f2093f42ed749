#include "app_loop.h"

app_timer_tap_t app_timer_tap = nullptr;

namespace {
struct thread_master* g_loop = nullptr;
} // namespace

struct thread_master* app_loop() {
    return g_loop;
}

void app_loop_set(struct thread_master* loop) {
    g_loop = loop;
}

void app_timer_set_tap(app_timer_tap_t tap) {
    app_timer_tap = tap;
}
