#include "gpon_stepped_show.h"

#include <map>

#include "kavo_frr.h"

namespace {

// The shows that aren't over. That of a session that closed stays until another session has its place in
// memory: nothing tells of the end of one, and there are never more than sessions at one time.
std::map<const struct vty*, gpon_show_step_t>& shows() {
    static auto& all = *new std::map<const struct vty*, gpon_show_step_t>;
    return all;
}

// The next step of a session's show, for struct vty.
int next_step(struct vty* vty) {
    const auto show = shows().find(vty);
    if (show != shows().end() && show->second())
        return CMD_SUCCESS;
    shows().erase(vty);
    vty->resume = nullptr;
    return CMD_SUCCESS;
}

} // namespace

int gpon_show_in_steps(struct vty* vty, gpon_show_step_t step) {
    const bool has_connection = vty->type == vty::VTY_SHELL_SERV && vty->fd >= 0;
    while (step())
        if (has_connection) {
            shows()[vty] = std::move(step);
            vty->resume = next_step;
            break;
        }
    return 0;
}
