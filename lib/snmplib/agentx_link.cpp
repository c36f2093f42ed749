#include "agentx_link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <string>

#include "agentx_pdu.h"
#include "ov_product_log.h"
#include "snmp_agent_library.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char DOMAIN_NAME[] = "gponagentx";            // in the library's list of transports
const oid local_oid[] = {1, 3, 6, 1, 2, 1, 100, 1, 13}; // transportDomainLocal (RFC 3419)
const oid list_oid[] = {0, 0, 1};                       // in that list; the library's transport has the other

// How long the master has kept us waiting.
struct Patience {
    std::optional<Clock::time_point> asked; // when the request that waits for an answer was sent
    Clock::duration spent{};                // waited for answers in this pass
    bool lost = false;                      // the connection is given up
    bool said = false;                      // in the log, since the master last answered

    void answered() {
        if (asked)
            spent += Clock::now() - *asked;
        asked.reset();
    }
    bool is_exhausted() const { return spent >= milliseconds(AGENTX_PASS_BUDGET_MS); }
};
Patience patience;
AgentxGate gate; // of the connection that stands

// The PDU that the library has been given and isn't done with. It takes a request through inner connections
// of its own, in some steps, and keeps pointers meanwhile: to the connection, which it would use after its
// end, and to the SET, which a phase that comes before the last one is done would free under it. Of a master
// that goes away, or that a stall of ours has made repeat itself, all of that waits in the socket at once.
class InFlight {
public:
    void took(AgentxPduType pdu) {
        using enum AgentxPduType;
        held_ = 0;
        pending_ = pdu >= GET && pdu <= CLEANUP_SET;
    }
    // It has been answered, or the library has nothing left to do: the last phase of a SET has no answer.
    void done() { *this = {}; }
    // Whether what comes next, another PDU or the end of the connection, is to wait for a step of the
    // library. A request that the library has dropped isn't waited for any longer than the longest takes.
    bool holds_next() {
        if (!pending_)
            return false;
        if (++held_ > kSteps)
            done();
        return pending_;
    }

private:
    static constexpr int kSteps = 16;

    bool pending_ = false;
    int held_ = 0; // times in a row
};
InFlight in_flight;
int current_sock = -1;            // of the connection that stands
bool is_up = false;               // as far as we know
std::atomic<unsigned> losses = 0; // of connections
unsigned reads = 0;

// The connection that stands has come to an end; more than one may notice.
void note_loss() {
    if (is_up)
        ++losses;
    is_up = false;
}

void give_up(int sock, const char* why) {
    if (patience.lost)
        return;
    note_loss();
    patience.lost = true;
    if (!patience.said)
        OV_LOG_WARN("SNMP", "AgentX master agent %s, connection given up", why);
    patience.said = true;
    shutdown(sock, SHUT_RDWR); // the library notices the end of the connection at its next read
}

// Whether the master may be asked something more. The library asks again when it has stopped waiting; answers
// of ours may go out while it waits.
bool is_patient(int sock) {
    const bool was_unanswered =
        patience.asked && Clock::now() - *patience.asked >= milliseconds(AGENTX_REPLY_MS * 9 / 10);
    patience.answered();
    if (was_unanswered)
        give_up(sock, "doesn't answer");
    else if (patience.is_exhausted())
        give_up(sock, "is too slow");
    return !patience.lost;
}

std::span<const uint8_t> bytes_of(const void* pdu, int size) {
    return {static_cast<const uint8_t*>(pdu), static_cast<size_t>(size)};
}

bool send_all(int sock, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t sent = send(sock, data, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        data += sent;
        size -= static_cast<size_t>(sent);
    }
    return true;
}

int link_send(netsnmp_transport* transport, const void* data, int size, void** /*opaque*/, int* /*length*/) {
    if (transport->sock < 0 || size < 0 || patience.lost)
        return -1;
    const auto type = agentx_pdu_type(bytes_of(data, size));
    const bool waits = type && agentx_link_waits_for_answer(static_cast<uint8_t>(*type));
    if (waits && !is_patient(transport->sock))
        return -1;
    if (!send_all(transport->sock, static_cast<const char*>(data), static_cast<size_t>(size))) {
        give_up(transport->sock, "takes no more requests");
        return -1;
    }
    if (type == AgentxPduType::RESPONSE)
        in_flight.done();
    if (waits)
        patience.asked = Clock::now();
    return size;
}

// Reads no further than to the end of a PDU: what the next one needs may still be under way in the library.
// The length, 0 at the end of the connection, -1 for an error or what isn't AgentX.
int receive_pdu(int sock, char* buffer, size_t room) {
    size_t length = 0;
    for (int flags = 0; length < room; flags = MSG_DONTWAIT) { // header, then payload
        const size_t wanted = std::min(gate.missing(), room - length);
        const ssize_t got = recv(sock, buffer + length, wanted, flags);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return length > 0 ? static_cast<int>(length) : static_cast<int>(got); // the rest comes later
        if (!gate.pass(bytes_of(buffer + length, static_cast<int>(got)))) {
            give_up(sock, "sends what isn't AgentX");
            return -1;
        }
        length += static_cast<size_t>(got);
        if (gate.is_between())
            break;
    }
    return static_cast<int>(length);
}

// What link_recv gives when there is nothing for the library yet, without ending the connection. The library
// takes the flag back each time.
int nothing_yet(netsnmp_transport* transport) {
    transport->flags |= NETSNMP_TRANSPORT_FLAG_EMPTY_PKT;
    return 0;
}

int link_recv(netsnmp_transport* transport, void* buffer, int size, void** opaque, int* length) {
    constexpr int END = -1;
    *opaque = nullptr;
    *length = 0;
    if (transport->sock < 0 || size <= 0)
        return END;
    ++reads;
    if (in_flight.holds_next())
        return nothing_yet(transport);
    const int got = receive_pdu(transport->sock, static_cast<char*>(buffer), static_cast<size_t>(size));
    patience.answered();
    if (got <= 0)
        return END;
    patience.said = false;
    if (gate.is_between())
        in_flight.took(*gate.ended());
    return got;
}

int link_close(netsnmp_transport* transport) {
    if (transport->sock < 0)
        return -1;
    if (patience.asked) { // the library has waited in vain
        patience.answered();
        give_up(transport->sock, "doesn't answer");
    }
    if (current_sock == transport->sock) {
        note_loss();
        current_sock = -1;
    }
    close(transport->sock);
    transport->sock = -1;
    return 0;
}

char* link_name(netsnmp_transport* /*transport*/, const void* /*data*/, int /*size*/) {
    return strdup("Local Unix socket"); // the library frees it
}

// The library's own settings for these don't reach a subagent's session.
int set_session_limits(netsnmp_transport* /*transport*/, netsnmp_session* session) {
    session->timeout = AGENTX_REPLY_MS * 1000L; // microseconds
    session->retries = 0;
    return SNMPERR_SUCCESS;
}

timeval reply_time() {
    return {.tv_sec = AGENTX_REPLY_MS / 1000, .tv_usec = AGENTX_REPLY_MS % 1000 * 1000L};
}

// A connected socket, or -1 with errno. Never waits.
int connect_to_master(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    path.copy(address.sun_path, path.size());
    const int sock = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (sock < 0)
        return -1;
    const timeval limit = reply_time();
    if (sock >= AGENTX_FD_MAX) {
        OV_LOG_ERROR("SNMP", "descriptor %d is too high for AgentX", sock);
        errno = EMFILE;
    } else if (connect(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
               fcntl(sock, F_SETFL, 0) == 0 && // the library reads what it knows to be there
               setsockopt(sock, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) == 0) {
        return sock;
    }
    const int error = errno;
    close(sock);
    errno = error;
    return -1;
}

netsnmp_transport* new_transport(int sock, const std::string& path) {
    auto* transport =
        static_cast<netsnmp_transport*>(calloc(1, sizeof(netsnmp_transport))); // freed by free()
    if (transport == nullptr)
        return nullptr;
    transport->domain = local_oid;
    transport->domain_length = std::size(local_oid);
    transport->remote = strdup(path.c_str());
    transport->remote_length = transport->remote == nullptr ? 0 : static_cast<int>(path.size());
    transport->sock = sock;
    transport->flags = NETSNMP_TRANSPORT_FLAG_STREAM;
    transport->msgMaxSize = SNMP_MAX_PACKET_LEN;
    transport->f_recv = link_recv;
    transport->f_send = link_send;
    transport->f_close = link_close;
    transport->f_fmtaddr = link_name;
    transport->f_setup_session = set_session_limits;
    return transport;
}

netsnmp_transport* open_link(const char* target) {
    const std::string path = target == nullptr || *target == '\0' ? AGENTX_MASTER_SOCKET : target;
    if (patience.lost && patience.spent > Clock::duration::zero())
        return nullptr; // it has just failed us: not twice in one pass
    const int sock = connect_to_master(path);
    if (sock < 0)
        return nullptr;
    netsnmp_transport* transport = new_transport(sock, path);
    if (transport == nullptr) {
        close(sock);
        return nullptr;
    }
    patience.asked.reset();
    patience.lost = false;
    gate = {};
    in_flight = {};
    current_sock = sock;
    is_up = true;
    ++reads; // of an earlier connection with this number nothing holds any more
    return transport;
}

netsnmp_transport* create_from_tspec(netsnmp_tdomain_spec* domain) {
    if ((domain->flags & NETSNMP_TSPEC_LOCAL) != 0)
        return nullptr; // only to the master, never for others
    return open_link(domain->target);
}

} // namespace

bool agentx_link_waits_for_answer(uint8_t pdu_type) {
    using enum AgentxPduType;
    return AgentxPduType(pdu_type) != NOTIFY && AgentxPduType(pdu_type) != RESPONSE;
}

bool agentx_link_has_room() {
    if (current_sock < 0 || patience.lost)
        return true;
    // A stream socket can be written to while less than a quarter of its buffer is taken.
    pollfd master = {.fd = current_sock, .events = POLLOUT, .revents = 0};
    const bool has_room = poll(&master, 1, 0) != 0;
    if ((master.revents & (POLLHUP | POLLERR)) != 0)
        note_loss(); // the library notices at its next read
    return has_room;
}

unsigned agentx_link_reads() {
    return reads;
}

bool agentx_link_is(int fd) {
    return fd == current_sock;
}

unsigned agentx_link_losses() {
    return losses;
}

void agentx_link_new_pass() {
    patience.spent = {};
}

void agentx_link_idle() {
    in_flight.done();
}

void agentx_link_init() {
    static const char* prefixes[] = {DOMAIN_NAME, nullptr};
    static netsnmp_tdomain domain = {};
    if (domain.name != nullptr)
        return;
    domain.name = list_oid;
    domain.name_length = std::size(list_oid);
    domain.prefix = prefixes;
    domain.f_create_from_tspec = create_from_tspec;
    netsnmp_tdomain_register(&domain);
    netsnmp_register_default_domain("agentx", DOMAIN_NAME);
}
