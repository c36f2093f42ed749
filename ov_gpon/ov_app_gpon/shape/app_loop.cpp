#include "app_loop.h"

namespace {
struct thread_master* g_loop = nullptr;
} // namespace

struct thread_master* app_loop() {
    return g_loop;
}

void app_loop_set(struct thread_master* loop) {
    g_loop = loop;
}
