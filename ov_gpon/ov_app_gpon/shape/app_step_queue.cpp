#include "app_step_queue.h"

#include <chrono>
#include <utility>

#include "app_loop.h"
#include "ov_clock.h"
#include "ov_loop_thread.h"

namespace {

// The real time, since it is spent waiting for cards.
constexpr std::chrono::milliseconds STEP{10};

} // namespace

void StepQueue::start(Step step, Done done) {
    ov_assert_on_loop();
    works_.push_back({std::move(step), std::move(done)});
    arm_next_step();
}

void StepQueue::go_on() {
    const ov_mono_time_t end = ov_wait_now() + STEP;
    while (!works_.empty() && ov_wait_now() < end)
        if (!works_.front().step())
            end_first();
    arm_next_step();
}

int StepQueue::on_step(struct thread* timer) {
    static_cast<StepQueue*>(THREAD_ARG(timer))->go_on();
    return 0;
}

void StepQueue::arm_next_step() {
    if (next_step_ == nullptr && !works_.empty())
        kavo_add_timer_msec(app_loop(), on_step, this, 0, &next_step_);
}

void StepQueue::end_first() {
    const Work ended = std::move(works_.front());
    works_.pop_front();
    ended.done();
}
