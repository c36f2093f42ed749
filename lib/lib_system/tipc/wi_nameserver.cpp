#include "wi_nameserver.h"

#include "ov_product_log.h"
#include "wi_ipc.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include <linux/tipc.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int connect_to_server(int sock) {
    sockaddr_tipc server = {};
    server.family = AF_TIPC;
    server.addrtype = TIPC_ADDR_NAME;
    server.addr.name.name.type = TIPC_TOP_SRV;
    server.addr.name.name.instance = TIPC_TOP_SRV;
    return connect(sock, reinterpret_cast<const sockaddr*>(&server), sizeof(server)) == 0 ? 0 : errno;
}

int subscribe(const wi_ns_topology_t& topology) {
    tipc_subscr request = {};
    request.seq = {topology.type, topology.low, topology.high};
    request.timeout = topology.timeout;
    request.filter = TIPC_SUB_PORTS;
    const ssize_t sent = send(topology.sock, &request, sizeof(request), MSG_NOSIGNAL);
    if (sent < 0)
        return errno;
    return sent == ssize_t(sizeof(request)) ? 0 : EIO;
}

// The event's number for us, or -1.
int event_number(uint32_t tipc_event_number) {
    switch (tipc_event_number) {
    case TIPC_PUBLISHED:
        return IPC_SERV_PUBLISHED;
    case TIPC_WITHDRAWN:
        return IPC_SERV_WITHDRAWN;
    case TIPC_SUBSCR_TIMEOUT:
        return IPC_SERV_SUBSCR_TIMEOUT;
    default:
        return -1;
    }
}

} // namespace

int topo_server_reconnect(wi_ns_topology_t* topology) {
    if (topology->sock >= 0)
        close(topology->sock);
    topology->sock = socket(AF_TIPC, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (topology->sock < 0)
        return errno;
    int error = connect_to_server(topology->sock);
    if (error == 0)
        error = subscribe(*topology);
    if (error != 0) {
        close(topology->sock);
        topology->sock = -1;
    }
    return error;
}

int topology_notification_init(uint32_t serv_id, uint32_t low_sub_id, uint32_t high_sub_id,
                               uint32_t timeout_ms, wi_ns_topology_t** topology) {
    *topology = nullptr;
    auto opened = std::make_unique<wi_ns_topology_t>();
    opened->type = serv_id + WI_IPC_TYPE_BASE;
    opened->low = low_sub_id;
    opened->high = high_sub_id;
    opened->timeout = timeout_ms;
    const int error = topo_server_reconnect(opened.get());
    if (error == 0)
        *topology = opened.release();
    return error;
}

void topology_notification_close(wi_ns_topology_t* topology) {
    const std::unique_ptr<wi_ns_topology_t> owned(topology);
    if (owned && owned->sock >= 0)
        close(owned->sock);
}

int topology_receive(wi_ns_topology_t* topology, ipc_ns_event_st* event) {
    if (topology->sock < 0)
        return ENOTCONN;
    std::array<uint8_t, sizeof(tipc_event)> bytes;
    const ssize_t length = recv(topology->sock, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (length < 0)
        return errno == EINTR ? EAGAIN : errno;
    if (length == 0)
        return ENOTCONN;
    return process_evt(std::span(bytes).first(size_t(length)), event) ? 0 : EAGAIN;
}

bool process_evt(std::span<const uint8_t> bytes, ipc_ns_event_st* event) {
    tipc_event received;
    if (bytes.size() < sizeof(received)) {
        OV_LOG_ERROR("IPC", "A topology event of %zu bytes is dropped", bytes.size());
        return false;
    }
    std::memcpy(&received, bytes.data(), sizeof(received));
    if (received.s.seq.type < WI_IPC_TYPE_BASE)
        return false;
    const int number = event_number(received.event);
    if (number < 0) {
        OV_LOG_ERROR("IPC", "Pid: %d, Unknown, evt = %i ", getpid(), int(received.event));
        return false;
    }
    event->ipc_ns_ev = number;
    event->serv_id = received.s.seq.type - WI_IPC_TYPE_BASE;
    event->sub_id = number == IPC_SERV_SUBSCR_TIMEOUT ? received.s.seq.lower : received.found_lower;
    return true;
}
