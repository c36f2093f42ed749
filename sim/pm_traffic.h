// Traffic through a line card, once or so many frames a second while time runs.
//
// Traffic has a target: a GEM port, an ONU, a PON port or a network port. An ONU that is away passes nothing;
// what is to pass every second goes on when it is back.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "event_loop.h"
#include "onu.h"
#include "pm_counts.h"

struct PmTarget {
    std::optional<OnuSerial> serial; // of the ONU; else its index or the port's
    uint32_t port = 0;
    uint32_t gem = 0; // number from 1; 0: none, the ONU as a whole

    bool operator==(const PmTarget&) const = default;
};
std::string pm_target_text(const PmTarget& target);

class PmFlows {
public:
    using Clock = Onus::Clock;

    PmFlows(EventLoop& loop, const CardObjects& objects, Onus& onus)
        : loop_(loop), objects_(objects), onus_(onus), last_(Clock::now()) {}
    PmFlows(const PmFlows&) = delete;
    PmFlows& operator=(const PmFlows&) = delete;
    ~PmFlows() { loop_.cancel(timer_); }

    // The index at which it counts, or, with the reason in error, nothing: the ONU is away, or it has no such
    // GEM port.
    std::optional<uint32_t> find(const PmTarget& target, std::string& error) const;

    // From now on so many frames pass every second, in place of those that passed there.
    void set(const PmTarget& target, const PmTraffic& per_second);
    // False when there was none.
    bool stop(const PmTarget& target);
    // Counts what has passed up to now.
    void settle(Clock::time_point now = Clock::now());
    // Bytes per second, up and down, that pass a network port at present.
    std::pair<uint64_t, uint64_t> rates(uint32_t port) const;

    PmCounts& counts() { return counts_; }
    const PmCounts& counts() const { return counts_; }

    struct Flow {
        PmTarget target;
        PmTraffic per_second;
        uint64_t rest_up = 0; // millionths of a frame
        uint64_t rest_down = 0;
    };
    const std::vector<Flow>& all() const { return flows_; }

private:
    void tick();

    EventLoop& loop_;
    const CardObjects& objects_;
    Onus& onus_;
    PmCounts counts_;
    std::vector<Flow> flows_;
    Clock::time_point last_; // up to which all has been counted
    EventLoop::TimerId timer_ = 0;
};
