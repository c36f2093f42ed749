// Collects the log lines of a scope.
#pragma once

#include <string>
#include <vector>

#include "ov_product_log.h"

struct LogLine {
    int level;
    std::string module;
    std::string text;
    bool operator==(const LogLine&) const = default;
};

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

    const std::vector<LogLine>& lines() const { return lines_; }
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const LogLine& line : lines_)
            texts.push_back(line.text);
        return texts;
    }

private:
    static inline std::vector<LogLine> lines_;
};
