// The daemon's command data files, expanded for the shell: the daemon runs the commands.
#include "command_tree.h"

#include "kavo_cmd_rows.h"

namespace {

int run_by_the_daemon(struct cmd_element* /*self*/, struct vty* /*vty*/, int /*argc*/,
                      const char** /*argv*/) {
    return 0;
}

#undef GPON_CMD
#define GPON_CMD(handler, nodes, syntax, help) {nodes, syntax, help, run_by_the_daemon},

const kavo_cmd_t commands[] = {
#include "commands/all.def"
};

} // namespace

std::span<const kavo_cmd_t> daemon_commands() {
    return commands;
}
