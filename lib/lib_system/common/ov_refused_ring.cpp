#include "ov_refused_ring.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

namespace {

struct Ring {
    std::mutex mutex;
    std::map<std::string, std::deque<ov_refused_t>> doors;
    std::map<std::string, uint64_t> counts;
    uint32_t last = 0;
};

// Never destroyed: other threads may be refused while the process ends.
Ring& ring() {
    static Ring& instance = *new Ring;
    return instance;
}

} // namespace

uint32_t ov_refused_add(ov_refused_t refused) {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    refused.number = ++r.last;
    ++r.counts[refused.door];
    std::deque<ov_refused_t>& kept = r.doors[refused.door];
    if (kept.size() == OV_REFUSED_PER_DOOR)
        kept.pop_front();
    kept.push_back(std::move(refused));
    return r.last;
}

std::vector<ov_refused_t> ov_refused_list() {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    std::vector<ov_refused_t> all;
    for (const auto& [door, kept] : r.doors)
        all.insert(all.end(), kept.begin(), kept.end());
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.number < b.number; });
    return all;
}

std::optional<ov_refused_t> ov_refused_find(uint32_t number) {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    for (const auto& [door, kept] : r.doors)
        for (const ov_refused_t& each : kept)
            if (each.number == number)
                return each;
    return std::nullopt;
}

std::map<std::string, uint64_t> ov_refused_counts() {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    return r.counts;
}

void ov_refused_clear() {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    r.doors.clear();
    r.counts.clear();
    r.last = 0;
}
