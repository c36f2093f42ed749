// Every unit test program's first thread is its event loop's (on_loop.cpp), and a function that belongs there
// fails the test when another thread calls it.
#pragma once

#include "ov_loop_thread.h"

#include <atomic>

// While one stands, any thread may do anything, and is counted: for tests that play with threads below the
// application, or with the assertion itself.
class AnyThread {
public:
    AnyThread() {
        intruders() = 0;
        ov_loop_set_intruder_handler([](const char*) { ++intruders(); });
    }
    ~AnyThread() { fail_on_intruders(); }
    AnyThread(const AnyThread&) = delete;
    AnyThread& operator=(const AnyThread&) = delete;

    // Calls on another thread than the loop's while the object has stood.
    static std::atomic<int>& intruders() {
        static std::atomic<int> count;
        return count;
    }
    static void fail_on_intruders();
};
