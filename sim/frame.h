// Frames of the control connections: an 8-byte header and a body.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "umsg.h"

struct Frame {
    uint8_t type = 0;
    uint32_t seq = 0;
    std::vector<uint8_t> body;
};

// What a deliberately wrong frame has in its header in place of the right values.
struct FrameOverrides {
    std::optional<uint8_t> version;
    std::optional<uint16_t> length;
};

// The bytes of a frame. The body is at most 65535 bytes: longer than the protocol allows, so that a test
// can send what is too long.
std::vector<uint8_t> encode_frame(const Frame& frame, const FrameOverrides& overrides = {});

// Cuts a byte stream into frames. Holds at most one frame of the greatest legal size and what came with the
// last read.
class FrameReader {
public:
    enum class Result { NEED_MORE, FRAME, BAD_VERSION, TOO_LONG };

    void feed(std::span<const uint8_t> bytes);
    // After BAD_VERSION or TOO_LONG the stream has no known frame boundary any more: close it.
    Result next(Frame& frame);
    // Bytes of an unfinished frame.
    size_t pending() const { return buffer_.size(); }
    // The header of the frame that was refused, or is unfinished.
    uint8_t version() const { return version_; }
    uint16_t length() const { return length_; }

private:
    std::vector<uint8_t> buffer_;
    uint8_t version_ = 0;
    uint16_t length_ = 0;
};
