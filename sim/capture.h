// What travels between the daemon and the line cards, in a pcap file: link type USER0 (147), and in front of
// each frame 24 bytes that say who sent it to whom (docs/wire-format.md). tools/wireshark makes Wireshark
// read it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "card_socket.h"

class Capture {
public:
    // Starts with an empty file. False, with the reason in error.
    bool open(const std::string& path, std::string& error);
    // A frame that the card in a slot was sent: its header, if it is there, says by whom. Nothing without a
    // file; what the file has no room for ends the capture behind the last whole frame, with a word on
    // standard error.
    void add_received(uint32_t slot, const IpcName& to, std::span<const uint8_t> frame);
    // A frame that it sent.
    void add_sent(uint32_t slot, const IpcName& from, const IpcName& to, std::span<const uint8_t> frame);

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void add(uint8_t direction, uint32_t slot, const IpcName& from, const IpcName& to,
             std::span<const uint8_t> frame);
    bool write(std::span<const uint8_t> bytes);

    std::string path_;
    std::unique_ptr<std::FILE, Close> file_;
};
