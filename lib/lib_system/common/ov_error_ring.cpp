#include "ov_error_ring.h"

#include <deque>
#include <mutex>
#include <string_view>

#include "ov_clock.h"
#include "ov_product_log.h"

namespace {

struct Ring {
    std::mutex mutex;
    std::deque<ov_error_line_t> lines;
    ov_error_counts_t counts{};
};

// Never destroyed: other threads may log while the process ends.
Ring& ring() {
    static Ring& instance = *new Ring;
    return instance;
}

std::string text_or_empty(const char* text) {
    return text != nullptr ? std::string(std::string_view(text).substr(0, OV_ERROR_RING_TEXT)) : "";
}

} // namespace

void ov_error_ring_add(int level, const char* module, const char* text) {
    if (level < OV_LOG_LVL_ERROR)
        return;
    ov_error_line_t line = {ov_wall_time(), level, text_or_empty(module), text_or_empty(text)};
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    ++(level >= OV_LOG_LVL_FATAL ? r.counts.fatals : r.counts.errors);
    if (r.lines.size() == OV_ERROR_RING_LINES)
        r.lines.pop_front();
    r.lines.push_back(std::move(line));
}

ov_error_counts_t ov_error_ring_counts() {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    return r.counts;
}

std::vector<ov_error_line_t> ov_error_ring_lines() {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    return {r.lines.begin(), r.lines.end()};
}

void ov_error_ring_clear() {
    Ring& r = ring();
    const std::lock_guard guard(r.mutex);
    r.lines.clear();
    r.counts = {};
}
