// The heartbeat monitor: a datagram socket that takes the pids of live processes.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "event_loop.h"
#include "fd.h"
#include "records.h"

class HeartbeatMonitor {
public:
    static constexpr const char* PATH = "/tmp/uds_hb.socket";
    static constexpr size_t MAX_PIDS = 64; // further pids are on record only

    struct Life {
        uint64_t count = 0;
        double last = 0; // seconds since the chassis started
    };

    HeartbeatMonitor(EventLoop& loop, Records& records) : loop_(loop), records_(records) {}
    ~HeartbeatMonitor() { stop(); }

    // Binds the socket, in place of one that an earlier monitor left. False, with the reason in error.
    bool start(std::string& error);
    // Closes and removes the socket; heartbeats are then refused.
    void stop();
    bool running() const { return static_cast<bool>(fd_); }

    const std::map<uint32_t, Life>& lives() const { return lives_; }

private:
    void receive();

    EventLoop& loop_;
    Records& records_;
    Fd fd_;
    std::map<uint32_t, Life> lives_;
};
