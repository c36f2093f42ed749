// The virtual machine's first process, and its tools for a machine that has no others (tools.h).
#include "agent.h"
#include "boot.h"
#include "tools.h"

#include <cstring>

#include <unistd.h>

int main(int argc, char** argv) {
    if (argc > 1 && getpid() != 1)
        return run_tool({argv + 1, argv + argc});
    boot();
    const int port = open_agent_port();
    if (port < 0)
        give_up("the runner's port");
    serve_agent(port);
    give_up("the runner has gone");
}
