// The one loop of the program: descriptors and timers, one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <poll.h>
#include <vector>

class EventLoop {
public:
    using Handler = std::function<void(short revents)>;
    using TimerId = uint64_t; // never 0

    // Watches fd for poll(2) events; the descriptor stays the caller's. A second call replaces the first.
    void watch(int fd, short events, Handler handler);
    void set_events(int fd, short events);
    // To be called before fd is closed. Safe inside any handler.
    void unwatch(int fd);

    // Runs fn once, after at least this time.
    TimerId after(std::chrono::milliseconds delay, std::function<void()> fn);
    // Does nothing for a timer that ran or was cancelled, or 0.
    void cancel(TimerId id);

    // Until stop(); it can be run again then.
    void run();
    void stop() { stopped_ = true; }

private:
    struct Watch {
        short events;
        uint64_t serial; // tells a descriptor number from an earlier use of the same number
        std::shared_ptr<Handler> handler;
    };
    struct Timer {
        std::chrono::steady_clock::time_point due;
        std::function<void()> fn;
    };

    void dispatch_ready(int timeout_ms);
    void run_due_timers();
    int next_timeout() const;

    std::map<int, Watch> watches_;
    std::map<TimerId, Timer> timers_;
    std::vector<pollfd> fds_; // of the present turn
    std::vector<uint64_t> serials_;
    uint64_t next_id_ = 1;
    bool stopped_ = false;
};
