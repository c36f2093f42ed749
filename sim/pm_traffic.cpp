#include "pm_traffic.h"

#include <algorithm>

#include "card_rules.h"
#include "port_name.h"
#include "text.h"

namespace {

constexpr std::chrono::milliseconds TICK{100};
constexpr uint64_t MILLION = 1'000'000;

// Whole frames of so many a second in this time; what is left of one stays in rest.
uint64_t frames_in(uint64_t microseconds, uint64_t per_second, uint64_t& rest) {
    const uint64_t parts = microseconds * per_second + rest;
    rest = parts % MILLION;
    return parts / MILLION;
}

} // namespace

std::string pm_target_text(const PmTarget& target) {
    const std::string text = target.serial ? onu_serial_text(*target.serial) : port_of_ifindex(target.port);
    return target.gem ? text + format(" gem=%u", target.gem) : text;
}

std::optional<uint32_t> PmFlows::find(const PmTarget& target, std::string& error) const {
    if (!target.serial && kind_of(target.port) != index_kind::ONU)
        return target.port;
    const Onu* onu = target.serial ? onus_.find(*target.serial) : onus_.at_index(target.port);
    if (!onu || onu->state != OnuState::OPERATIONAL) {
        error = pm_target_text(target) + " is away";
        return {};
    }
    if (target.gem == 0)
        return onu->index;
    const uint32_t gem = index_kind::GEM << 27 | (onu->index & 0x07FFFF80) | (target.gem - 1);
    if (has_gem_port(objects_, gem))
        return gem;
    error = pm_target_text(target) + ": no such GEM port";
    return {};
}

void PmFlows::set(const PmTarget& target, const PmTraffic& per_second) {
    settle();
    std::erase_if(flows_, [&](const Flow& flow) { return flow.target == target; });
    flows_.push_back({target, per_second});
    if (timer_ == 0)
        tick();
}

bool PmFlows::stop(const PmTarget& target) {
    settle();
    return std::erase_if(flows_, [&](const Flow& flow) { return flow.target == target; }) != 0;
}

void PmFlows::tick() {
    settle();
    timer_ = flows_.empty() ? 0 : loop_.after(TICK, [this] { tick(); });
}

void PmFlows::settle(Clock::time_point now) {
    const auto passed = std::chrono::duration_cast<std::chrono::microseconds>(now - last_);
    if (passed.count() <= 0)
        return;
    last_ += passed;
    for (Flow& flow : flows_) {
        std::string error;
        const auto index = find(flow.target, error);
        if (!index)
            continue;
        const auto microseconds = static_cast<uint64_t>(passed.count());
        PmTraffic traffic = flow.per_second;
        traffic.up = frames_in(microseconds, flow.per_second.up, flow.rest_up);
        traffic.down = frames_in(microseconds, flow.per_second.down, flow.rest_down);
        if (traffic.up != 0 || traffic.down != 0)
            counts_.pass(*index, traffic);
    }
}

std::pair<uint64_t, uint64_t> PmFlows::rates(uint32_t port) const {
    const PmTarget target{{}, port, 0};
    const auto flow = std::ranges::find(flows_, target, &Flow::target);
    if (flow == flows_.end())
        return {};
    return {flow->per_second.up * flow->per_second.size, flow->per_second.down * flow->per_second.size};
}
