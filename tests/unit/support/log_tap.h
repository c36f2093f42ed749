// The lines of ov_product_app_log from the object's construction to its end, with level and tag. One at a
// time.
#pragma once

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "ov_product_log.h"

struct LogLine {
    int level;
    std::string module;
    std::string text;
    bool operator==(const LogLine&) const = default;
};

inline void PrintTo(const LogLine& line, std::ostream* out) {
    *out << line.level << " [" << line.module << "] " << line.text;
}

class LogTap {
public:
    LogTap() {
        lines_.clear();
        ov_product_log_set_tap([](int level, const char* module, const char* text) {
            lines_.push_back({level, module, text});
        });
    }
    ~LogTap() { ov_product_log_set_tap(nullptr); }
    LogTap(const LogTap&) = delete;
    LogTap& operator=(const LogTap&) = delete;

    static std::vector<LogLine>& lines() { return lines_; }
    // Takes the lines out.
    static std::vector<LogLine> take() { return std::exchange(lines_, {}); }
    static std::vector<std::string> texts() {
        std::vector<std::string> texts(lines_.size());
        std::transform(lines_.begin(), lines_.end(), texts.begin(), [](const LogLine& l) { return l.text; });
        return texts;
    }
    static bool has(const std::string& text) {
        return std::any_of(lines_.begin(), lines_.end(), [&](const LogLine& l) { return l.text == text; });
    }

private:
    static inline std::vector<LogLine> lines_;
};
