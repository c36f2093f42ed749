// Collects the log for the life of the object, and keeps it away from the machine's log file.
#pragma once

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "ov_product_log.h"
#include "temp_dir.h"

class LogCapture {
public:
    LogCapture() : log_file_("OV_LOG_FILE", dir_.file("log")) {
        clear();
        ov_product_log_set_tap(take);
    }
    ~LogCapture() { ov_product_log_set_tap(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The lines of the application's log so far, but for those below.
    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex());
        return store();
    }
    // Those of sends that took long: on a busy machine any may, so that no test counts on there being none.
    std::vector<std::string> slow_sends() const {
        const std::lock_guard lock(mutex());
        return slow_store();
    }
    // Everything that reached the log file, assertions included.
    std::string file_text() const { return dir_.read("log"); }
    static void clear() {
        const std::lock_guard lock(mutex());
        store().clear();
        slow_store().clear();
    }

private:
    static void take(int /*level*/, const char* module, const char* text) {
        const std::lock_guard lock(mutex());
        (std::strcmp(module, "TIMING") == 0 ? slow_store() : store()).emplace_back(text);
    }
    static std::mutex& mutex() {
        static std::mutex m;
        return m;
    }
    static std::vector<std::string>& store() {
        static std::vector<std::string> lines;
        return lines;
    }
    static std::vector<std::string>& slow_store() {
        static std::vector<std::string> lines;
        return lines;
    }

    TempDir dir_;
    ScopedEnv log_file_;
};
