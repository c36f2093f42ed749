#include "agentx_inner.h"

#include <algorithm>

#include <sys/ioctl.h>

#include "snmp_agent_library.h"

// The sessions of the two halves. The library exports both, and no header of its has them; with one that
// doesn't, they are nowhere, and the kernel tells of each hop.
extern "C" {
[[gnu::weak]] extern netsnmp_session* callback_master_sess;
[[gnu::weak]] extern netsnmp_session* agentx_callback_sess;
}

namespace {

using Receive = decltype(netsnmp_transport::f_recv);
using Send = decltype(netsnmp_transport::f_send);

// One end: what comes is counted when the other end sends, and was taken when it is received.
struct End {
    netsnmp_transport* transport = nullptr;
    Receive receive = nullptr;
    Send send = nullptr;
    int waiting = 0;
};

struct Ends {
    End agent;
    End subagent;
};
Ends ends;

End& end_of(const netsnmp_transport* transport) {
    return transport == ends.agent.transport ? ends.agent : ends.subagent;
}

int send(netsnmp_transport* transport, const void* data, int size, void** opaque, int* length) {
    End& from = end_of(transport);
    const int result = from.send(transport, data, size, opaque, length);
    if (result >= 0)
        ++(&from == &ends.agent ? ends.subagent : ends.agent).waiting;
    return result;
}

int receive(netsnmp_transport* transport, void* buffer, int size, void** opaque, int* length) {
    End& to = end_of(transport);
    const int result = to.receive(transport, buffer, size, opaque, length);
    to.waiting = std::max(to.waiting - 1, 0);
    return result;
}

netsnmp_transport* transport_of(netsnmp_session* session) {
    void* handle = session == nullptr ? nullptr : snmp_sess_pointer(session);
    return handle == nullptr ? nullptr : snmp_sess_transport(handle);
}

// What was sent before anybody counted.
int bytes_in(int pipe) {
    int bytes = 0;
    return ioctl(pipe, FIONREAD, &bytes) == 0 ? bytes : 0;
}

// Whether the end is the one that the session has now; it is made anew with each connection to the master.
bool follow(End& end, netsnmp_session* const* session) {
    netsnmp_transport* transport = session == nullptr ? nullptr : transport_of(*session);
    if (transport == nullptr)
        return false;
    if (transport->f_recv != receive) {
        end = {transport, transport->f_recv, transport->f_send, bytes_in(transport->sock)};
        transport->f_recv = receive;
        transport->f_send = send;
    }
    return end.transport == transport;
}

} // namespace

bool agentx_inner_is_known() {
    return follow(ends.agent, &callback_master_sess) && follow(ends.subagent, &agentx_callback_sess);
}

int agentx_inner_ready() {
    for (const End* end : {&ends.agent, &ends.subagent})
        if (end->waiting > 0)
            return end->transport->sock;
    return -1;
}
