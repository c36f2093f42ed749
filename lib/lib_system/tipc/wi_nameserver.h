// Names coming and going: TIPC's topology service.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

enum ipc_ns_ev : int {
    IPC_SERV_WITHDRAWN = 0,
    IPC_SERV_PUBLISHED = 1,
    IPC_SERV_SUBSCR_TIMEOUT = 2,
};

struct ipc_ns_event_st {
    int ipc_ns_ev; // enum ipc_ns_ev
    uint32_t serv_id;
    uint32_t sub_id;
};

// A connection to the topology service with its one subscription.
struct wi_ns_topology_t {
    int sock = -1;
    uint32_t type = 0;
    uint32_t low = 0;
    uint32_t high = 0;
    uint32_t timeout = 0; // milliseconds; 0xffffffff for ever
};

inline constexpr uint32_t WI_NS_FOREVER = 0xffffffff;

// Connects and subscribes to the sub ids of a service. 0, or an errno with *topology null. Freed with
// topology_notification_close.
int topology_notification_init(uint32_t serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                               uint32_t timeout_ms, wi_ns_topology_t** topology);
void topology_notification_close(wi_ns_topology_t* topology);

// Opens the connection anew, with the same subscription; events of names that are there come again. 0 or an
// errno, and the topology then has no connection until the next try.
int topo_server_reconnect(wi_ns_topology_t* topology);

// Reads what waits on the connection. 0 with an event; EAGAIN when nothing of ours was there; ENOTCONN and
// other numbers when the connection is broken.
int topology_receive(wi_ns_topology_t* topology, ipc_ns_event_st* event);

// Turns an event of the topology service, in the host's byte order, into ours. False for a short one, a type
// that isn't of the named IPC, or an event that isn't known (logged).
bool process_evt(std::span<const uint8_t> bytes, ipc_ns_event_st* event);
