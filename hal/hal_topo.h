// A watcher of the agents' names, which would drive the slots' active flags. Nothing in this daemon starts it:
// its slot state comes from the control client alone.
#pragma once

#include "ipcApi.h"

// Subscribes to the agents' service and starts a thread that runs hal_tipc_topo_event_task. 0, or a negative
// ipc_rc; IPC_RC_FAILED without TIPC.
int hal_register_tipc_topo_change();

// Takes events for as long as the subscription `topology` (a wi_ns_topology_t) gives any, and frees it.
void* hal_tipc_topo_event_task(void* topology);

// Sets or clears the flag of the slot whose agent came or went. Names that are no agent's are passed over; bad
// slots and unknown events are logged.
void hal_tipc_topo_callback(const ipc_ns_event_st* event);
