// Long work on a card in stages, each a timer of the loop.
#pragma once

#include <algorithm>
#include <memory>
#include <span>

#include "libovra.h"

struct thread;

// A stage of a chain: its timer function, and what arms that with the chain's context after the pause that
// stands before the stage.
struct ChainStage {
    int (*timer)(struct thread*);
    void (*arm)(void* chain);
};

// Arms the stage behind that of `timer`, which is one of `stages`. False behind the last: the chain has
// ended.
inline bool arm_next_stage(std::span<const ChainStage> stages, int (*timer)(struct thread*), void* chain) {
    const auto stage = std::find_if(stages.begin(), stages.end(),
                                    [timer](const ChainStage& each) { return each.timer == timer; });
    if (stages.end() - stage < 2)
        return false;
    stage[1].arm(chain);
    return true;
}

// Measures a stage.
class StageClock {
public:
    StageClock() : timing_(ov_timing_new()) {
        if (timing_)
            ov_timing_start(timing_.get());
    }
    // Seconds since it was made.
    double stop() {
        if (!timing_)
            return 0.0;
        ov_timing_stop(timing_.get());
        return static_cast<double>(ov_timing_get_inter(timing_.get())) / 1000000.0;
    }

private:
    struct Destroy {
        void operator()(ov_timing_t* timing) const { ov_timing_destroy(timing); }
    };
    std::unique_ptr<ov_timing_t, Destroy> timing_;
};
