// Long work that waits for cards, done in steps between which the loop serves others: a step takes about ten
// milliseconds of real time, and the piece of work that is in hand when they are over.
//
//     StepQueue copies;
//     copies.start([copy]() mutable { return copy.step(); }, [] { ... });
//
// One piece of work at a time: what is started while another is under way begins when that is through. Main
// loop only; a queue lives as long as the program.
#pragma once

#include <deque>
#include <functional>

#include "kavo_frr.h"

class StepQueue {
public:
    using Step = std::function<bool()>; // does the next piece; false when there was nothing left
    using Done = std::function<void()>;

    StepQueue() = default;
    StepQueue(const StepQueue&) = delete;
    StepQueue& operator=(const StepQueue&) = delete;

    // `done` is called once, from a step and never from within this call.
    void start(Step step, Done done);
    // Works for about as long as one step does: for a session that has nothing better to do than to wait for
    // its own.
    void go_on();

private:
    struct Work {
        Step step;
        Done done;
    };

    static int on_step(struct thread* timer);
    void arm_next_step();
    void end_first();

    std::deque<Work> works_; // the first one is under way
    struct thread* next_step_ = nullptr;
};
