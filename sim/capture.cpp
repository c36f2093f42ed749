#include "capture.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <unistd.h>
#include <vector>

#include "card_frame.h"

namespace {

constexpr size_t FILE_HEAD = 24;
constexpr size_t PACKET_HEAD = 16;
constexpr size_t FRAME_HEAD = 24; // of our own, in front of each frame
constexpr uint32_t PCAP_MAGIC = 0xa1b2c3d4;
constexpr uint16_t PCAP_MAJOR = 2;
constexpr uint16_t PCAP_MINOR = 4;
constexpr uint32_t LONGEST = 65535;
constexpr uint32_t LINKTYPE_USER0 = 147;
constexpr uint32_t HEAD_MAGIC = 0x67706f6e; // "gpon"
constexpr uint16_t HEAD_VERSION = 1;
constexpr uint32_t TYPE_BASE = 19000;
constexpr uint8_t TO_CARD = 0;
constexpr uint8_t FROM_CARD = 1;

IpcName sender_of(std::span<const uint8_t> frame) {
    constexpr size_t SENDER_AT = 12;
    if (frame.size() < card_wire::IPC_HEADER)
        return {};
    return {get_be32(frame, SENDER_AT), get_be32(frame, SENDER_AT + 4)};
}

void put_name(std::span<uint8_t> bytes, size_t at, const IpcName& name) {
    put_be32(bytes, at, name.service == 0 ? 0 : name.service + TYPE_BASE);
    put_be32(bytes, at + 4, name.sub_id);
}

} // namespace

bool Capture::open(const std::string& path, std::string& error) {
    std::vector<uint8_t> head(FILE_HEAD);
    put_be32(head, 0, PCAP_MAGIC);
    put_be16(head, 4, PCAP_MAJOR);
    put_be16(head, 6, PCAP_MINOR);
    put_be32(head, 16, LONGEST);
    put_be32(head, 20, LINKTYPE_USER0);
    path_ = path;
    file_.reset(std::fopen(path.c_str(), "we"));
    if (file_ && write(head))
        return true;
    error = path + ": " + std::strerror(errno);
    file_.reset();
    return false;
}

void Capture::add_received(uint32_t slot, const IpcName& to, std::span<const uint8_t> frame) {
    if (file_)
        add(TO_CARD, slot, sender_of(frame), to, frame);
}

void Capture::add_sent(uint32_t slot, const IpcName& from, const IpcName& to,
                       std::span<const uint8_t> frame) {
    if (file_)
        add(FROM_CARD, slot, from, to, frame);
}

void Capture::add(uint8_t direction, uint32_t slot, const IpcName& from, const IpcName& to,
                  std::span<const uint8_t> frame) {
    using namespace std::chrono;
    const auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch());
    const auto size = static_cast<uint32_t>(FRAME_HEAD + frame.size());
    std::vector<uint8_t> packet(PACKET_HEAD + size);
    put_be32(packet, 0, static_cast<uint32_t>(now / 1s));
    put_be32(packet, 4, static_cast<uint32_t>(now % 1s / 1us));
    put_be32(packet, 8, size);
    put_be32(packet, 12, size);
    const auto head = std::span(packet).subspan(PACKET_HEAD);
    put_be32(head, 0, HEAD_MAGIC);
    put_be16(head, 4, HEAD_VERSION);
    head[6] = direction;
    head[7] = static_cast<uint8_t>(slot);
    put_name(head, 8, from);
    put_name(head, 16, to);
    std::copy(frame.begin(), frame.end(), head.begin() + FRAME_HEAD);
    const long end = std::ftell(file_.get());
    if (write(packet))
        return;
    std::fprintf(stderr, "chassis-sim: the capture ends: %s: %s\n", path_.c_str(), std::strerror(errno));
    file_.reset();
    if (truncate(path_.c_str(), end) != 0)
        std::fprintf(stderr, "chassis-sim: its last frame is cut\n");
}

// All of it is in the file when this is true: who reads along sees whole frames.
bool Capture::write(std::span<const uint8_t> bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size() &&
           std::fflush(file_.get()) == 0;
}
