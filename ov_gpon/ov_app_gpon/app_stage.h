// Long work on a card in stages, each a timer of the loop.
#pragma once

#include <memory>

#include "libovra.h"

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
