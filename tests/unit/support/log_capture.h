// Collects the log for the life of the object, and keeps it away from the machine's log file.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "ov_product_log.h"

class LogCapture {
public:
    LogCapture() : file_(make_file()) {
        if (const char* before = getenv("OV_LOG_FILE"))
            former_file_ = before;
        setenv("OV_LOG_FILE", file_.c_str(), 1);
        clear();
        ov_product_log_set_tap(take);
    }
    ~LogCapture() {
        ov_product_log_set_tap(nullptr);
        if (former_file_.empty())
            unsetenv("OV_LOG_FILE");
        else
            setenv("OV_LOG_FILE", former_file_.c_str(), 1);
        std::filesystem::remove(file_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The lines of the application's log so far.
    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex());
        return store();
    }
    // Everything that reached the log file, assertions included.
    std::string file_text() const {
        std::ostringstream text;
        text << std::ifstream(file_).rdbuf();
        return text.str();
    }
    static void clear() {
        const std::lock_guard lock(mutex());
        store().clear();
    }

private:
    static void take(int /*level*/, const char* /*module*/, const char* text) {
        const std::lock_guard lock(mutex());
        store().emplace_back(text);
    }
    static std::string make_file() {
        std::string name = testing::TempDir() + "log_capture_XXXXXX";
        const int fd = mkstemp(name.data());
        if (fd >= 0)
            close(fd);
        return name;
    }
    static std::mutex& mutex() {
        static std::mutex m;
        return m;
    }
    static std::vector<std::string>& store() {
        static std::vector<std::string> lines;
        return lines;
    }

    std::string file_;
    std::string former_file_;
};
