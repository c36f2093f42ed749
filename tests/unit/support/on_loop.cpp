#include "on_loop.h"

#include <gtest/gtest.h>

void AnyThread::fail_on_intruders() {
    ov_loop_set_intruder_handler(
        [](const char* function) { ADD_FAILURE() << function << " isn't on the event loop's thread"; });
}

namespace {

struct FirstThread {
    FirstThread() {
        ov_loop_thread_set();
        AnyThread::fail_on_intruders();
    }
} first_thread;

} // namespace
