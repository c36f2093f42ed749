#include "ov_loop_thread.h"

#include <cstring>

#include "ov_product_log.h"

namespace {
thread_local char t_mark;             // each thread has one at an address of its own
std::atomic<const char*> g_loop_mark; // that of the loop's
std::atomic<ov_loop_intruder_handler_t> g_handler;
} // namespace

void ov_loop_thread_set() {
    g_loop_mark.store(&t_mark);
}

bool ov_is_on_loop() {
    const char* mark = g_loop_mark.load(std::memory_order_relaxed);
    return mark == nullptr || mark == &t_mark;
}

void ov_loop_intruder(const char* file_name, int line, const char* function, std::atomic_flag& told) {
    if (const ov_loop_intruder_handler_t handler = g_handler.load())
        return handler(function);
    if (!told.test_and_set())
        ov_product_app_log(file_name, static_cast<int>(strlen(file_name)), function,
                           static_cast<int>(strlen(function)), line, OV_LOG_LVL_ERROR, "LIB",
                           "%s isn't on the event loop's thread", function);
}

void ov_loop_set_intruder_handler(ov_loop_intruder_handler_t handler) {
    g_handler.store(handler);
}
