#include "agentx.h"

// TODO: the subagent: library set-up, events and timeouts on the loop, the connection to the master agent.

void smux_init(struct thread_master* /*tm*/) {}

void snmp_agent_start() {}
