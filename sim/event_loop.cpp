#include "event_loop.h"

#include <algorithm>
#include <vector>

using Clock = std::chrono::steady_clock;

void EventLoop::watch(int fd, short events, Handler handler) {
    watches_[fd] = {events, next_id_++, std::make_shared<Handler>(std::move(handler))};
}

void EventLoop::set_events(int fd, short events) {
    if (auto it = watches_.find(fd); it != watches_.end())
        it->second.events = events;
}

void EventLoop::unwatch(int fd) {
    watches_.erase(fd);
}

EventLoop::TimerId EventLoop::after(std::chrono::milliseconds delay, std::function<void()> fn) {
    const TimerId id = next_id_++;
    timers_[id] = {Clock::now() + delay, std::move(fn)};
    return id;
}

void EventLoop::cancel(TimerId id) {
    timers_.erase(id);
}

// Timers are few (pending waits and late replies): a scan per turn is cheap.
int EventLoop::next_timeout() const {
    if (timers_.empty())
        return -1;
    const auto first = std::min_element(timers_.begin(), timers_.end(), [](const auto& a, const auto& b) {
        return a.second.due < b.second.due;
    });
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(first->second.due - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, 60'000));
}

void EventLoop::run_due_timers() {
    if (timers_.empty())
        return;
    const Clock::time_point now = Clock::now();
    std::vector<std::pair<Clock::time_point, TimerId>> due;
    for (const auto& [id, timer] : timers_) {
        if (timer.due <= now)
            due.emplace_back(timer.due, id);
    }
    std::sort(due.begin(), due.end());
    for (const auto& [time, id] : due) {
        const auto it = timers_.find(id);
        if (it == timers_.end())
            continue; // an earlier one cancelled it
        const auto fn = std::move(it->second.fn);
        timers_.erase(it);
        fn();
    }
}

void EventLoop::dispatch_ready(int timeout_ms) {
    fds_.clear();
    serials_.clear();
    for (const auto& [fd, watch] : watches_) {
        fds_.push_back({fd, watch.events, 0});
        serials_.push_back(watch.serial);
    }
    if (poll(fds_.data(), fds_.size(), timeout_ms) <= 0)
        return;
    for (size_t i = 0; i < fds_.size(); ++i) {
        if (!fds_[i].revents)
            continue;
        const auto it = watches_.find(fds_[i].fd);
        if (it == watches_.end() || it->second.serial != serials_[i])
            continue; // closed by an earlier handler of this turn
        const auto handler = it->second.handler;
        (*handler)(fds_[i].revents);
    }
}

void EventLoop::run() {
    while (!stopped_) {
        dispatch_ready(next_timeout());
        run_due_timers();
    }
    stopped_ = false;
}
