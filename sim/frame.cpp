#include "frame.h"

#include <arpa/inet.h>
#include <cstring>

std::vector<uint8_t> encode_frame(const Frame& frame, const FrameOverrides& overrides) {
    apimsghdr header{};
    header.version = overrides.version.value_or(UMSG_VERSION);
    header.msgtype = frame.type;
    header.msglen = htons(overrides.length.value_or(static_cast<uint16_t>(frame.body.size())));
    header.msgseq = htonl(frame.seq);
    std::vector<uint8_t> bytes(sizeof header + frame.body.size());
    std::memcpy(bytes.data(), &header, sizeof header);
    if (!frame.body.empty())
        std::memcpy(bytes.data() + sizeof header, frame.body.data(), frame.body.size());
    return bytes;
}

void FrameReader::feed(std::span<const uint8_t> bytes) {
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

FrameReader::Result FrameReader::next(Frame& frame) {
    apimsghdr header{};
    if (buffer_.size() < sizeof header)
        return Result::NEED_MORE;
    std::memcpy(&header, buffer_.data(), sizeof header);
    version_ = header.version;
    length_ = ntohs(header.msglen);
    if (version_ != UMSG_VERSION)
        return Result::BAD_VERSION;
    if (length_ > UMSG_MAX_BODY)
        return Result::TOO_LONG;
    const size_t size = sizeof header + length_;
    if (buffer_.size() < size)
        return Result::NEED_MORE;
    frame.type = header.msgtype;
    frame.seq = ntohl(header.msgseq);
    const auto begin = buffer_.begin();
    frame.body.assign(begin + sizeof header, begin + static_cast<std::ptrdiff_t>(size));
    buffer_.erase(begin, begin + static_cast<std::ptrdiff_t>(size));
    return Result::FRAME;
}
