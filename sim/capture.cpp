#include "capture.h"

#include <cerrno>
#include <cstring>

#include "text.h"

bool Capture::open(const std::string& path, std::string& error) {
    file_.reset(std::fopen(path.c_str(), "we"));
    if (!file_)
        error = path + ": " + std::strerror(errno);
    return file_ != nullptr;
}

void Capture::add(uint32_t slot, std::span<const uint8_t> frame) {
    if (!file_)
        return;
    std::fprintf(file_.get(), "%u %s\n", slot, to_hex(frame).c_str());
    std::fflush(file_.get());
}
