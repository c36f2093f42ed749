#include "gpon_stepped_show.h"

#include "gpon_waiting_command.h"

int gpon_run_in_steps(struct vty* vty, gpon_show_step_t step, std::function<int()> end) {
    return gpon_run_in_steps(vty, [step = std::move(step), end = std::move(end)] {
        if (step())
            return GponStep::more();
        return GponStep::end(end ? end() : 0);
    });
}

int gpon_show_in_steps(struct vty* vty, gpon_show_step_t step) {
    return gpon_run_in_steps(vty, std::move(step), nullptr);
}
