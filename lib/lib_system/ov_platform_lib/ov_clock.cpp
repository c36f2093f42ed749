#include "ov_clock.h"

#include <atomic>

namespace {
std::atomic<const ov_clock_source_t*> g_source{nullptr};
} // namespace

time_t ov_wall_time() {
    const ov_clock_source_t* source = g_source.load(std::memory_order_acquire);
    return source != nullptr ? source->wall().tv_sec : time(nullptr);
}

timespec ov_wall_now() {
    if (const ov_clock_source_t* source = g_source.load(std::memory_order_acquire))
        return source->wall();
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

ov_mono_time_t ov_mono_now() {
    const ov_clock_source_t* source = g_source.load(std::memory_order_acquire);
    return source != nullptr ? source->mono() : ov_wait_now();
}

ov_mono_time_t ov_wait_now() {
    return std::chrono::steady_clock::now();
}

void ov_clock_set_source(const ov_clock_source_t* source) {
    g_source.store(source, std::memory_order_release);
}
