// TIPC for a kernel that has none: the test program's own socket calls, which answer for AF_TIPC as the
// kernel does and leave every other family to the C library. One node, one process.
//
// Each socket's descriptor is real and readable when a message waits, so poll and receive time limits work.
// What is played: names bound, by several who then take turns, and looked up, one message to a name or a
// range, no route to a name that nobody has, the limit of a message's length, the queue depth, returned
// messages (their error and their first 1024 bytes as ancillary data, no body) when a receiver's queue is
// full or it closes with messages unread, at once or a while later, messages cut to the reader's buffer, and
// the topology service's connections.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <linux/tipc.h>

namespace fake_tipc {

using Bytes = std::vector<uint8_t>;

// With GPON_TEST_CARRIER=tipc (../support/carrier.h) the kernel has TIPC, and it is the one that is tested:
// nothing is played, and a body ends as skipped at the first call below that only a played one can answer.
//
// Runs the body in a process of its own on such a kernel, with the carrier "tipc" chosen.
void run(const std::function<void()>& body);
// Makes this process one on such a kernel; for a body that has one of its own already.
void enter();

// Messages that a receiver's queue takes before it is overloaded.
inline constexpr size_t QUEUE_LIMIT = 100;

// What the program has told a socket.
struct Told {
    int type = 0; // SOCK_RDM, SOCK_SEQPACKET
    std::vector<sockaddr_tipc> names;
    uint32_t importance = TIPC_LOW_IMPORTANCE;
    uint32_t dest_droppable = 1;
    int receive_buffer = 0; // as asked for
    int send_buffer = 0;
};
Told told(int sock);

// Messages that wait for whoever has a name; 0 for nobody.
uint32_t waiting(uint32_t type, uint32_t instance);

// From now on messages come back only when the test says so, as from another node, and in its order: those
// that came back first go first, or last.
void hold_returns();
void release_returns(bool backwards = false);

// The next send on any socket fails with this errno.
void fail_next_send(int error);
// Every receive call on this socket fails with this errno from now on.
void break_socket(int sock, int error);
// A message comes to a socket that has no name, by its port.
void deliver_to_port(int sock, const Bytes& bytes);

// The service's ends of the connections to the topology service so far, in their order; the test's to close.
std::vector<int> topology_connections();
// Connections to the topology service are refused with this errno; 0 takes them again.
void refuse_topology(int error);

} // namespace fake_tipc
