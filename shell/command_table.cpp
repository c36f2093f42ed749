// The daemon's command data files, expanded for the shell: the daemon runs the commands.
#include "command_tree.h"

#include "kavo_cmd_rows.h"

namespace {

int run_by_the_daemon(CliCall& /*call*/) {
    return 0;
}

#undef GPON_CMD
#define GPON_CMD(handler, nodes, syntax, help) {nodes, syntax, help, run_by_the_daemon},

const kavo_cmd_t commands[] = {
#include "commands/all.def"
};

#undef GPON_CMD

constexpr char WRITE_MEMORY_HELP[] = "Print the configuration as commands\n"
                                     "Save it, with the tables\n";

const kavo_cmd_t own_commands[] = {
    {{ENABLE_NODE, CONFIG_NODE, GPON_NODE, ONU_SRV_PROFILE_NODE, IF_NODE, IF_GPON_NODE, GPON_ONU_NODE,
      QINQ_NODE},
     "write memory",
     WRITE_MEMORY_HELP,
     run_by_the_daemon},
    {{VLAN_NODE, IF_TRUNK_NODE}, "write memory", WRITE_MEMORY_HELP, run_by_the_daemon},
    {{ENABLE_NODE},
     "copy running-config startup-config",
     "Copy the configuration\n"
     "From the one that is in force\n"
     "To the one that the system starts with\n",
     run_by_the_daemon},
};

} // namespace

std::span<const kavo_cmd_t> shell_commands() {
    return own_commands;
}

std::span<const kavo_cmd_t> daemon_commands() {
    return commands;
}
