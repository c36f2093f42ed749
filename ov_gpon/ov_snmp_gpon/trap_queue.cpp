#include "trap_queue.h"

#include <algorithm>
#include <utility>

#include "agentx_link.h"
#include "kavo_timer.h"
#include "ov_product_log.h"

namespace {

constexpr long RETRY_MS = 5;

} // namespace

void TrapQueue::send(TrapRow trap) {
    if (!agentx_is_on_loop()) {
        if (push(std::move(trap)))
            kavo_add_event(agentx_loop(), drain_event, this, 0, nullptr);
        return;
    }
    const bool has_room = agentx_link_has_room();
    drop_lost();
    if (has_room && waiting() == 0)
        return sender_(trap);
    if (push(std::move(trap)))
        drain();
}

size_t TrapQueue::waiting() const {
    const std::lock_guard lock(mutex_);
    return waiting_.size();
}

bool TrapQueue::push(TrapRow trap) {
    const std::lock_guard lock(mutex_);
    if (waiting_.size() >= LIMIT) {
        if (!is_full_)
            OV_LOG_WARN("SNMP", "more than %zu notifications wait for the master agent, the rest is lost",
                        LIMIT);
        is_full_ = true;
        return false;
    }
    waiting_.push_back({std::move(trap), agentx_link_losses()});
    return true;
}

bool TrapQueue::pop(TrapRow& trap) {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty()) {
        is_full_ = false;
        return false;
    }
    trap = std::move(waiting_.front().trap);
    waiting_.pop_front();
    return true;
}

// Those of a connection that has ended stand in front.
void TrapQueue::drop_lost() {
    const std::lock_guard lock(mutex_);
    const unsigned losses = agentx_link_losses();
    const auto kept = std::find_if(waiting_.begin(), waiting_.end(),
                                   [losses](const Waiting& waiting) { return waiting.losses == losses; });
    const auto count = kept - waiting_.begin();
    waiting_.erase(waiting_.begin(), kept);
    if (count > 0)
        OV_LOG_WARN("SNMP", "%td notifications are lost with the master agent's connection", count);
}

void TrapQueue::drain() {
    TrapRow trap;
    while (agentx_link_has_room()) {
        drop_lost();
        if (!pop(trap))
            return;
        sender_(trap);
    }
    if (timer_ == nullptr && waiting() > 0)
        kavo_add_timer_msec(agentx_loop(), drain_event, this, RETRY_MS, &timer_);
}

int TrapQueue::drain_event(struct thread* event) {
    static_cast<TrapQueue*>(THREAD_ARG(event))->drain();
    return 0;
}
