#include "gpon_waiting_command.h"

#include <map>
#include <string>

#include "kavo_cmd.h"
#include "kavo_frr.h"
#include "kavo_loop.h"
#include "kavo_refusal.h"
#include "kavo_timer.h"
#include "ov_refusal.h"

namespace {

constexpr long MOMENT_MSEC = 20;

struct Command {
    gpon_step_t step;
    uint32_t line;      // as kavo_refusal.h calls it
    std::string text;   // without its secrets
    std::string reason; // the first that a step stated, for a refusal at the end
};

// The commands that aren't over. That of a session that closed stays until another session has its place in
// memory: nothing tells of the end of one, and there are never more than sessions at one time.
std::map<const struct vty*, Command>& commands() {
    static auto& all = *new std::map<const struct vty*, Command>;
    return all;
}

// A step behind the handler: the door of the command is open again.
GponStep take_step(const struct vty* vty, Command& command) {
    OvRefusal request("vty");
    const GponStep taken = command.step();
    if (command.reason.empty())
        command.reason = request.notes().reason.data();
    if (taken.kind != GponStep::Kind::END || taken.result == 0)
        return taken;
    if (!command.reason.empty())
        ov_refusal_because("%s", command.reason.c_str());
    kavo_refusal_tell(vty, request, command.text, taken.result, command.line);
    return taken;
}

// In place of the event that comes when the shell can take more, which is now.
void pause(struct vty* vty) {
    if (const struct thread* running = kavo_loop_running(); running != nullptr && running->arg == vty)
        kavo_add_timer_again(*running, MOMENT_MSEC, &vty->t_write);
}

// The next step of a session's command, for struct vty.
int next_step(struct vty* vty) {
    const auto command = commands().find(vty);
    const GponStep taken = command != commands().end() ? take_step(vty, command->second) : GponStep::end(0);
    if (taken.kind == GponStep::Kind::WAIT)
        pause(vty);
    if (taken.kind != GponStep::Kind::END)
        return CMD_SUCCESS;
    vty->resume = nullptr;
    commands().erase(vty);
    return taken.result == 0 ? CMD_SUCCESS : CMD_WARNING;
}

uint32_t line_of(const struct vty* vty) {
    return kavo_refusal_line_number(vty->buf != nullptr ? vty->buf : "");
}

} // namespace

bool gpon_can_wait(const struct vty* vty) {
    return vty->type == vty::VTY_SHELL_SERV && vty->fd >= 0;
}

int gpon_run_in_steps(struct vty* vty, gpon_step_t step) {
    for (;;) {
        const GponStep taken = step();
        if (taken.kind == GponStep::Kind::END)
            return taken.result;
        if (!gpon_can_wait(vty))
            continue;
        commands()[vty] = {std::move(step), line_of(vty), kavo_cmd_running_text(), ""};
        vty->resume = next_step;
        return 0;
    }
}
