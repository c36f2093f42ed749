// What the daemon sends to line cards, frame by frame, in a file: one line each, the slot and the bytes in
// hexadecimal.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

class Capture {
public:
    // Starts with an empty file. False, with the reason in error.
    bool open(const std::string& path, std::string& error);
    // Nothing without a file. A line is there when the call returns.
    void add(uint32_t slot, std::span<const uint8_t> frame);

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> file_;
};
