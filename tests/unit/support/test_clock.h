// Time as a test says: while a TestClock stands, the daemon's clocks (ov_clock.h) show its time, every timer
// that is armed (kavo_timer.h) is its own, and nothing waits.
//
//     TestClock clock(1'700'000'000);
//     ...                      // arms timers
//     clock.advance(15min);    // runs all that falls due, in order, at its own time
//
// A timer that runs may arm others: they run in the same advance() if they fall into it. Timers that were
// armed before the clock was made stay with the loop. One at a time.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "kavo_timer.h"
#include "ov_clock.h"

class TestClock : public kavo_timers_t {
public:
    static constexpr time_t START = 1'700'000'000; // 2023-11-14 22:13:20 UTC

    explicit TestClock(time_t wall = START) {
        now_ = ov_wait_now();
        set_wall(wall);
        current() = this;
        ov_clock_set_source(&SOURCE);
        kavo_timers_take(this);
    }
    ~TestClock() override {
        kavo_timers_take(nullptr);
        ov_clock_set_source(nullptr);
        current() = nullptr;
        for (const auto& timer : timers_)
            if (timer->ref != nullptr)
                *timer->ref = nullptr;
    }
    TestClock(const TestClock&) = delete;
    TestClock& operator=(const TestClock&) = delete;

    // Somebody sets the system's time, forward or back: timers don't care.
    void set_wall(time_t wall) { wall_minus_mono_ = std::chrono::seconds(wall) - now_.time_since_epoch(); }

    // Lets time pass, on both clocks, and runs what falls due.
    void advance(std::chrono::nanoseconds time) {
        const ov_mono_time_t end = now_ + time;
        for (unsigned runs = 0; !timers_.empty() && (*first())->due <= end; ++runs) {
            if (runs == MAX_RUNS)
                FAIL() << "timers arm each other without end";
            run_next();
        }
        now_ = std::max(now_, end);
    }

    // Lets time pass up to the next timer and runs it; the milliseconds that it was armed with, -1 without
    // one.
    long run_next() {
        if (timers_.empty()) {
            ADD_FAILURE() << "no timer is armed";
            return -1;
        }
        const auto at = first();
        const std::unique_ptr<Timer> timer = std::move(*at);
        timers_.erase(at);
        now_ = std::max(now_, timer->due);
        if (timer->ref != nullptr)
            *timer->ref = nullptr;
        timer->event.func(&timer->event);
        return timer->wait.count();
    }

    // A handler takes its time: the clocks go on under it, and no timer runs meanwhile.
    void take(std::chrono::nanoseconds time) { now_ += time; }

    // Timers and alarms that wait.
    size_t armed() const { return timers_.size(); }

    // ---- kavo_timers_t ------------------------------------------------------------------------------------

    void arm(void (*function)(struct thread*), void* arg, std::chrono::milliseconds wait,
             struct thread** ref) override {
        auto timer = std::make_unique<Timer>(Timer{.wait = wait, .due = now_ + wait, .ref = ref});
        timer->event.func = function;
        timer->event.arg = arg;
        if (ref != nullptr)
            *ref = &timer->event;
        timers_.push_back(std::move(timer));
    }

    bool cancel(struct thread** ref) override {
        const auto at = std::find_if(timers_.begin(), timers_.end(),
                                     [=](const auto& timer) { return &timer->event == *ref; });
        if (at == timers_.end())
            return false;
        timers_.erase(at);
        *ref = nullptr;
        return true;
    }

    unsigned int add_alarm(std::chrono::microseconds period, bool repeats,
                           std::function<void(unsigned int)> ring) override {
        const unsigned int number = ++last_alarm_;
        alarms_[number] = {.period = period, .repeats = repeats, .ring = std::move(ring)};
        arm_alarm(number, period);
        return number;
    }

    void remove_alarm(unsigned int number) override { alarms_.erase(number); } // its timer runs into nothing

private:
    static constexpr unsigned MAX_RUNS = 1'000'000;

    struct Timer {
        std::chrono::milliseconds wait;
        ov_mono_time_t due;
        struct thread** ref;
        struct thread event = {};
    };
    struct Alarm {
        std::chrono::microseconds period;
        bool repeats;
        std::function<void(unsigned int)> ring;
    };

    // The one that is due first, of several the one that was armed first.
    std::vector<std::unique_ptr<Timer>>::iterator first() {
        return std::min_element(timers_.begin(), timers_.end(),
                                [](const auto& a, const auto& b) { return a->due < b->due; });
    }

    void arm_alarm(unsigned int number, std::chrono::microseconds period) {
        arm(run_alarm, reinterpret_cast<void*>(uintptr_t{number}), {}, nullptr);
        timers_.back()->due = now_ + period;
        timers_.back()->wait = std::chrono::duration_cast<std::chrono::milliseconds>(period);
    }
    static void run_alarm(struct thread* event) {
        TestClock& clock = *current();
        const auto number = static_cast<unsigned int>(reinterpret_cast<uintptr_t>(THREAD_ARG(event)));
        const auto found = clock.alarms_.find(number);
        if (found == clock.alarms_.end())
            return;
        const Alarm alarm = found->second;
        if (alarm.repeats)
            clock.arm_alarm(number, alarm.period);
        else
            clock.alarms_.erase(found);
        alarm.ring(number);
    }

    static TestClock*& current() {
        static TestClock* clock = nullptr;
        return clock;
    }
    static timespec wall() {
        const auto since = current()->now_.time_since_epoch() + current()->wall_minus_mono_;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
        const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(since - seconds);
        return {.tv_sec = seconds.count(), .tv_nsec = static_cast<long>(rest.count())};
    }
    static ov_mono_time_t mono() { return current()->now_; }
    static constexpr ov_clock_source_t SOURCE = {.wall = wall, .mono = mono};

    ov_mono_time_t now_;
    std::chrono::nanoseconds wall_minus_mono_{};
    std::vector<std::unique_ptr<Timer>> timers_;
    std::map<unsigned int, Alarm> alarms_;
    unsigned int last_alarm_ = 0;
};
