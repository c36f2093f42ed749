#include "kavo_loop.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "kavo_frr.h"
#include "ov_clock.h"
#include "ov_product_log.h"

namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::milliseconds;

using Function = void (*)(struct thread*);

std::unordered_map<Function, kavo_loop_handler_t> g_handlers;
uint32_t g_slow_runs = 0;
const char* g_doing = nullptr;
const struct thread* g_running = nullptr;

// ---- lines -----------------------------------------------------------------------------------------------

// The lines that may still be written before `until`.
struct Allowance {
    ov_mono_time_t until;
    unsigned left = 0;
    unsigned left_out = 0;

    bool take(ov_mono_time_t now) {
        if (now >= until) {
            until = now + KAVO_LOOP_LINES_TIME;
            left = KAVO_LOOP_LINES;
        }
        if (left == 0) {
            ++left_out;
            return false;
        }
        --left;
        return true;
    }
};
Allowance g_allowance;

void tell(const kavo_loop_handler_t& handler, microseconds took, ov_mono_time_t now) {
    if (!g_allowance.take(now))
        return;
    if (const unsigned left_out = std::exchange(g_allowance.left_out, 0); left_out != 0)
        OV_LOG_NOTICE("LIB", "%u more handlers held the loop for more than %ld ms", left_out,
                      static_cast<long>(KAVO_LOOP_SLOW.count()));
    OV_LOG_NOTICE("LIB", "handler %s held the loop for %ld ms%s%s", handler.name.c_str(),
                  static_cast<long>(duration_cast<milliseconds>(took).count()),
                  g_doing != nullptr ? ": " : "", g_doing != nullptr ? g_doing : "");
}

// ---- handlers --------------------------------------------------------------------------------------------

// "kavo_handle<gpon_read>" is gpon_read.
std::string name_of(std::string_view function) {
    constexpr std::string_view WRAPPER = "kavo_handle<";
    if (function.starts_with(WRAPPER) && function.ends_with('>'))
        function = function.substr(WRAPPER.size(), function.size() - WRAPPER.size() - 1);
    return std::string(function);
}

std::string place_of(const struct xref& place) {
    const std::string_view path = place.file;
    return std::string(path.substr(path.rfind('/') + 1)) + ":" + std::to_string(place.line);
}

kavo_loop_handler_t& handler_of(const struct thread& event) {
    kavo_loop_handler_t& handler = g_handlers[event.func];
    if (handler.name.empty() && event.xref != nullptr) {
        handler.name = name_of(event.xref->funcname);
        handler.armed_at = place_of(event.xref->xref);
    }
    return handler;
}

// Processor time of all runs of the event's function in microseconds, as the library has measured it. Where a
// size has 32 bits it begins anew after an hour of work; differences are right.
size_t cpu_of(const struct thread& event) {
    return event.hist == nullptr ? 0 : event.hist->cpu.total.load();
}

void note_cpu(kavo_loop_handler_t& handler, size_t cpu_us) {
    const microseconds took(static_cast<int64_t>(cpu_us));
    handler.cpu_total += took;
    handler.cpu_longest = std::max(handler.cpu_longest, took);
}

void note(kavo_loop_handler_t& handler, microseconds took, time_t began) {
    ++handler.runs;
    handler.total += took;
    if (took <= handler.longest && handler.runs > 1)
        return;
    handler.longest = took;
    handler.longest_at = began;
    handler.doing = g_doing != nullptr ? g_doing : "";
}

} // namespace

void kavo_loop_call(struct thread* event) {
    kavo_loop_handler_t& handler = handler_of(*event);
    g_doing = nullptr;
    const time_t began_at = ov_wall_time();
    const ov_mono_time_t began = ov_mono_now();
    const size_t cpu_before = cpu_of(*event);
    g_running = event;
    thread_call(event);
    g_running = nullptr;
    note_cpu(handler, cpu_of(*event) - cpu_before);
    const ov_mono_time_t now = ov_mono_now();
    const auto took = duration_cast<microseconds>(now - began);
    note(handler, took, began_at);
    if (took <= KAVO_LOOP_SLOW)
        return;
    ++g_slow_runs;
    tell(handler, took, now);
}

void kavo_loop_run(struct thread_master* master) {
    struct thread event;
    while (thread_fetch(master, &event) != nullptr)
        kavo_loop_call(&event);
}

void kavo_loop_doing(const char* what) {
    g_doing = what;
}

const struct thread* kavo_loop_running() {
    return g_running;
}

std::vector<kavo_loop_handler_t> kavo_loop_handlers() {
    std::vector<kavo_loop_handler_t> handlers;
    for (const auto& [function, handler] : g_handlers)
        if (handler.runs != 0)
            handlers.push_back(handler);
    std::sort(handlers.begin(), handlers.end(), [](const auto& a, const auto& b) {
        return a.longest != b.longest ? a.longest > b.longest : a.name < b.name;
    });
    return handlers;
}

uint32_t kavo_loop_slow_runs() {
    return g_slow_runs;
}
