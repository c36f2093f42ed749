// The AgentX subagent on the daemon's event loop. Event loop's thread, but for smux_trap.
#pragma once

struct thread_master;

// Sets the agent library up; called before any table is registered.
void smux_init(struct thread_master* tm);

// (Re)starts the connection to the master agent, when the controller says that it is up.
void snmp_agent_start();
