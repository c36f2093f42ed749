#include "gpon_stepped_show.h"

#include <map>

#include "kavo_frr.h"
#include "kavo_refusal.h"
#include "ov_refusal.h"

namespace {

struct Steps {
    gpon_show_step_t step;
    std::function<int()> end; // null: nothing can fail
    uint32_t line;            // as kavo_refusal.h calls it
};

// What isn't over. That of a session that closed stays until another session has its place in memory: nothing
// tells of the end of one, and there are never more than sessions at one time.
std::map<const struct vty*, Steps>& under_way() {
    static auto& all = *new std::map<const struct vty*, Steps>;
    return all;
}

// The result of a command that goes on behind its handler, where the door of the handler is closed.
int end_of(struct vty* vty, const Steps& steps) {
    OvRefusal request("vty");
    if (!steps.end || steps.end() == 0)
        return CMD_SUCCESS;
    const char* reason = request.refuse(kavo_refusal_object(vty).c_str(), nullptr);
    kavo_refusal_keep(vty, reason, steps.line);
    return CMD_WARNING;
}

// The next step of a session, for struct vty.
int next_step(struct vty* vty) {
    const auto found = under_way().find(vty);
    if (found != under_way().end() && found->second.step())
        return CMD_SUCCESS;
    vty->resume = nullptr;
    if (found == under_way().end())
        return CMD_SUCCESS;
    const Steps steps = std::move(found->second);
    under_way().erase(found);
    return end_of(vty, steps);
}

uint32_t line_of(const struct vty* vty) {
    return kavo_refusal_line_number(vty->buf != nullptr ? vty->buf : "");
}

} // namespace

int gpon_run_in_steps(struct vty* vty, gpon_show_step_t step, std::function<int()> end) {
    const bool has_connection = vty->type == vty::VTY_SHELL_SERV && vty->fd >= 0;
    while (step())
        if (has_connection) {
            under_way()[vty] = {std::move(step), std::move(end), line_of(vty)};
            vty->resume = next_step;
            return 0;
        }
    return end ? end() : 0;
}

int gpon_show_in_steps(struct vty* vty, gpon_show_step_t step) {
    return gpon_run_in_steps(vty, std::move(step), nullptr);
}
