#include "agentx_link.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>

#include "ov_clock.h"
#include "ov_product_log.h"
#include "snmp_agent_library.h"

namespace {

constexpr char DOMAIN_NAME[] = "gponagentx";            // in the library's list of transports
const oid local_oid[] = {1, 3, 6, 1, 2, 1, 100, 1, 13}; // transportDomainLocal (RFC 3419)
const oid list_oid[] = {0, 0, 1};                       // in that list; the library's transport has the other

// The PDU that the library has been given and isn't done with. It takes a request through inner connections
// of its own, in some steps, and keeps pointers meanwhile: to the connection, which it would use after its
// end, and to the SET, which a phase that comes before the last one is done would free under it. Of a master
// that goes away, or that a stall of ours has made repeat itself, all of that waits at once.
class InFlight {
public:
    void took(AgentxPduType pdu) {
        using enum AgentxPduType;
        held_ = 0;
        pending_ = pdu >= GET && pdu <= CLEANUP_SET;
    }
    bool is_pending() const { return pending_; }
    // It has been answered, or the library has nothing left to do: the last phase of a SET has no answer.
    void done() { *this = {}; }
    // Whether what comes next, another PDU or the end of the connection, is to wait for a step of the
    // library. A request that the library has dropped isn't waited for any longer than the longest takes.
    bool holds_next() {
        if (!pending_)
            return false;
        if (++held_ > STEPS)
            done();
        return pending_;
    }

private:
    static constexpr int STEPS = 16;

    bool pending_ = false;
    int held_ = 0; // times in a row
};

// What the library reads on: a descriptor that can be read whenever there is something for it.
class Signal {
public:
    bool open() {
        fd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        is_on_ = false;
        if (fd_ >= AGENTX_FD_MAX)
            close();
        return fd_ >= 0;
    }
    void close() {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = -1;
    }
    void set(bool on) {
        if (fd_ < 0 || on == is_on_)
            return;
        eventfd_t value = 1;
        is_on_ = (on ? eventfd_write(fd_, value) : eventfd_read(fd_, &value)) == 0 ? on : is_on_;
    }
    int fd() const { return fd_; }

private:
    int fd_ = -1;
    bool is_on_ = false;
};

AgentxMaster& master() {
    static AgentxMaster the_one;
    return the_one;
}

InFlight in_flight;
Signal input;                  // of the library's transport
std::deque<AgentxPdu> answers; // of ours to the library's requests
AgentxAnswerer* answerer = nullptr;
AgentxHold* hold = nullptr;
bool next_is_for_library = false;                                         // the answerer has left it
enum class Commit : uint8_t { NONE, HELD, LET_GO } commit = Commit::NONE; // the next, if it is a CommitSet
AgentxPdu handed_over;            // of which the library has had a part
size_t handed_bytes = 0;          // of it
bool is_up = false;               // a session stands, as far as we know
bool is_to_be_said = false;       // that it stands with all that was registered
std::atomic<unsigned> losses = 0; // of connections

// The connection that stood has come to an end; more than one may notice.
void note_loss() {
    if (!is_up || master().socket() >= 0)
        return;
    ++losses;
    is_up = false;
    input.set(true); // the library is to see the end
}

void say_connected() {
    if (!is_to_be_said || !master().is_quiet() || master().socket() < 0)
        return;
    OV_LOG_NOTICE("SNMP", "AgentX master agent connected");
    is_to_be_said = false;
}

// ---- the library's side ------------------------------------------------------------------------------

bool is_something_left() {
    return handed_bytes < handed_over.size() || agentx_link_has_input();
}

// As much as the library has room for.
int hand_over(char* buffer, size_t room) {
    const size_t take = std::min(room, handed_over.size() - handed_bytes);
    std::memcpy(buffer, handed_over.data() + handed_bytes, take);
    handed_bytes += take;
    return static_cast<int>(take);
}

void begin_to_hand_over(AgentxPdu pdu) {
    handed_over = std::move(pdu);
    handed_bytes = 0;
}

// ---- requests that are answered without the library ---------------------------------------------------

bool library_is_busy() {
    return commit == Commit::HELD || in_flight.is_pending() || !answers.empty() ||
           handed_bytes < handed_over.size();
}

bool is_to_be_offered(const AgentxPdu& pdu) {
    using enum AgentxPduType;
    const auto header = agentx_header(pdu);
    return header && header->type >= GET && header->type <= GET_BULK && header->session == master().session();
}

// The next that has come, if it is for the answerer. False, with all as it was, for one that isn't.
bool answer_next() {
    static AgentxPdu response;
    auto request = master().next();
    if (!request)
        return false;
    if (is_to_be_offered(*request) && answerer(*request, response)) {
        master().send(response);
        return true;
    }
    master().put_back(std::move(*request));
    next_is_for_library = true;
    return false;
}

// Answers what it can of what has come, in its order. A few at a time, so that a busy manager doesn't keep
// the loop: behind those the library's turn comes.
void answer_what_waits() {
    constexpr int AT_ONCE = 16;
    constexpr std::chrono::milliseconds LONG_ENOUGH(20);
    if (answerer == nullptr || next_is_for_library || library_is_busy())
        return;
    const auto end = ov_mono_now() + LONG_ENOUGH;
    for (int n = 0; n < AT_ONCE && master().socket() >= 0 && !master().is_choked() && answer_next(); n++)
        if (master().has_next() && ov_mono_now() >= end)
            break;
    note_loss();
}

// ---- sets that take long --------------------------------------------------------------------------------

// Whether the next that has come is a CommitSet that is to wait.
bool is_held() {
    if (commit == Commit::NONE && hold != nullptr && master().is_next(AgentxPduType::COMMIT_SET) && hold())
        commit = Commit::HELD;
    return commit == Commit::HELD;
}

// The master has taken back the set that it was waiting for.
void drop_held_if_undone() {
    if (commit != Commit::NONE && master().drop_undone_commits())
        commit = Commit::NONE;
}

// Whether something is there that needn't wait: answers to notifications don't.
bool is_next_there() {
    return commit == Commit::HELD ? master().has_response() : master().has_next();
}

// ---- the library's side, handing over -----------------------------------------------------------------

// Chooses what the library gets next: an answer that it waits for comes before all else. False for nothing.
bool choose_next() {
    if (!answers.empty()) {
        begin_to_hand_over(std::move(answers.front()));
        answers.pop_front();
        return true;
    }
    answer_what_waits();
    if (auto pdu = is_held() ? master().next_response() : master().next()) {
        next_is_for_library = false;
        commit = commit == Commit::HELD ? commit : Commit::NONE;
        in_flight.took(agentx_header(*pdu)->type);
        begin_to_hand_over(std::move(*pdu));
        return true;
    }
    return false;
}

// What link_recv gives when there is nothing for the library yet, without ending the connection. The library
// takes the flag back each time.
int nothing_yet(netsnmp_transport* transport) {
    transport->flags |= NETSNMP_TRANSPORT_FLAG_EMPTY_PKT;
    return 0;
}

int receive(netsnmp_transport* transport, char* buffer, size_t room) {
    constexpr int END = -1;
    if (handed_bytes < handed_over.size())
        return hand_over(buffer, room);
    if (answers.empty() && in_flight.holds_next())
        return nothing_yet(transport);
    if (!agentx_link_has_input())
        agentx_link_receive();
    if (choose_next())
        return hand_over(buffer, room);
    return master().socket() < 0 ? END : nothing_yet(transport);
}

int link_recv(netsnmp_transport* transport, void* buffer, int size, void** opaque, int* length) {
    *opaque = nullptr;
    *length = 0;
    if (transport->sock < 0 || size <= 0)
        return -1;
    const int got = receive(transport, static_cast<char*>(buffer), static_cast<size_t>(size));
    if (!is_something_left())
        input.set(false);
    return got;
}

// The library waits for an answer: it gets ours.
void answer(AgentxHeader request) {
    if (request.type == AgentxPduType::OPEN)
        request.session = *master().session();
    answers.push_back(agentx_make_response(request));
    input.set(true);
}

// Of its own requests all but the first go out: the session is open.
bool pass_on(const AgentxHeader& header, std::span<const uint8_t> pdu) {
    const bool is_sent = header.type == AgentxPduType::OPEN || master().send(pdu);
    note_loss();
    return is_sent;
}

int link_send(netsnmp_transport* transport, const void* data, int size, void** /*opaque*/, int* /*length*/) {
    if (transport->sock < 0 || size < 0 || !master().session())
        return -1;
    const std::span pdu(static_cast<const uint8_t*>(data), static_cast<size_t>(size));
    const auto header = agentx_header(pdu);
    if (!header || !pass_on(*header, pdu))
        return -1;
    if (header->type == AgentxPduType::RESPONSE)
        in_flight.done();
    if (agentx_link_waits_for_answer(static_cast<uint8_t>(header->type)))
        answer(*header);
    return size;
}

int link_close(netsnmp_transport* transport) {
    if (transport->sock < 0)
        return -1;
    transport->sock = -1;
    input.close();
    answers.clear();
    begin_to_hand_over({});
    in_flight.done();
    next_is_for_library = false;
    commit = Commit::NONE;
    master().close();
    note_loss();
    return 0;
}

char* link_name(netsnmp_transport* /*transport*/, const void* /*data*/, int /*size*/) {
    return strdup("AgentX master agent"); // the library frees it
}

// For the answers to notifications, the only ones that the library waits for; it doesn't repeat them.
int set_session_limits(netsnmp_transport* /*transport*/, netsnmp_session* session) {
    session->timeout = AGENTX_SILENCE_MS * 1000L; // microseconds
    session->retries = 0;
    return SNMPERR_SUCCESS;
}

netsnmp_transport* new_transport(const char* target) {
    auto* transport =
        static_cast<netsnmp_transport*>(calloc(1, sizeof(netsnmp_transport))); // freed by free()
    if (transport == nullptr)
        return nullptr;
    transport->domain = local_oid;
    transport->domain_length = std::size(local_oid);
    transport->remote = strdup(target);
    transport->remote_length = transport->remote == nullptr ? 0 : static_cast<int>(strlen(target));
    transport->sock = input.fd();
    transport->flags = NETSNMP_TRANSPORT_FLAG_STREAM;
    transport->msgMaxSize = SNMP_MAX_PACKET_LEN;
    transport->f_recv = link_recv;
    transport->f_send = link_send;
    transport->f_close = link_close;
    transport->f_fmtaddr = link_name;
    transport->f_setup_session = set_session_limits;
    return transport;
}

// ---- attempts to connect -----------------------------------------------------------------------------

// Waits for the master's answer to our Open.
void wait_for_session() {
    const auto end = ov_wait_now() + std::chrono::milliseconds(AGENTX_PASS_MS);
    while (master().socket() >= 0 && !master().session()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - ov_wait_now()).count();
        const bool wants_to_write = master().wants_to_write();
        pollfd sock = {.fd = master().socket(),
                       .events = static_cast<short>(POLLIN | (wants_to_write ? POLLOUT : 0)),
                       .revents = 0};
        if (left <= 0 || (poll(&sock, 1, static_cast<int>(left)) <= 0 && errno != EINTR))
            return;
        master().flush();
        master().receive();
    }
}

std::optional<AgentxAddress> address_of(const char* target) {
    static std::string refused;
    const std::string text = target == nullptr || *target == '\0' ? AGENTX_MASTER_SOCKET : target;
    auto address = agentx_address(text);
    if (!address && text != refused) {
        OV_LOG_ERROR("SNMP", "AgentX master agent: \"%s\" is no address of one", text.c_str());
        refused = text;
    }
    return address;
}

// Begins an attempt. A master that had nothing to say to the last one isn't waited for.
void begin_attempt(const char* target) {
    const auto address = address_of(target);
    const bool was_mute = master().was_mute();
    if (address && master().begin(*address) && !was_mute)
        wait_for_session();
}

netsnmp_transport* open_link(const char* target) {
    if (input.fd() >= 0)
        return nullptr; // there is one
    if (master().socket() < 0)
        begin_attempt(target);
    else
        master().receive();
    if (master().socket() < 0 || !master().session() || !input.open())
        return nullptr;
    netsnmp_transport* transport = new_transport(target == nullptr ? AGENTX_MASTER_SOCKET : target);
    if (transport == nullptr) {
        input.close();
        return nullptr;
    }
    is_up = true;
    is_to_be_said = true;
    return transport;
}

netsnmp_transport* create_from_tspec(netsnmp_tdomain_spec* domain) {
    if ((domain->flags & NETSNMP_TSPEC_LOCAL) != 0)
        return nullptr; // only to the master, never for others
    return open_link(domain->target);
}

// Brings the master's address to our transport, with whatever transport it is written. In front of the
// library's first attempt, behind its configuration.
int claim_address(int /*major*/, int /*minor*/, void* /*argument*/, void* /*own*/) {
    const char* address = netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET);
    const std::string prefix = std::string(DOMAIN_NAME) + ":";
    if (address != nullptr && strncmp(address, prefix.c_str(), prefix.size()) != 0)
        netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET,
                              (prefix + address).c_str());
    return 0;
}

} // namespace

bool agentx_link_waits_for_answer(uint8_t pdu_type) {
    using enum AgentxPduType;
    return AgentxPduType(pdu_type) != NOTIFY && AgentxPduType(pdu_type) != RESPONSE;
}

int agentx_link_socket() {
    return master().socket();
}

bool agentx_link_wants_to_read() {
    return master().wants_to_read();
}

bool agentx_link_wants_to_write() {
    return master().wants_to_write();
}

bool agentx_link_is_owed() {
    return master().socket() >= 0 && (!master().is_quiet() || master().wants_to_write());
}

void agentx_link_set_answerer(AgentxAnswerer* wanted) {
    answerer = wanted;
}

void agentx_link_set_hold(AgentxHold* wanted) {
    hold = wanted;
}

void agentx_link_go_on() {
    if (commit != Commit::HELD)
        return;
    commit = Commit::LET_GO;
    agentx_link_wake();
}

void agentx_link_receive() {
    master().receive();
    drop_held_if_undone();
    note_loss();
    answer_what_waits();
    say_connected();
}

void agentx_link_flush() {
    master().flush();
    note_loss();
}

void agentx_link_check_silence() {
    master().check_silence();
    note_loss();
}

int agentx_link_fd() {
    return input.fd();
}

bool agentx_link_has_input() {
    return !answers.empty() || is_next_there() || master().socket() < 0;
}

bool agentx_link_can_hand_over() {
    const bool is_begun = handed_bytes < handed_over.size() || !answers.empty();
    return input.fd() >= 0 && (is_begun || (!in_flight.is_pending() && agentx_link_has_input()));
}

void agentx_link_wake() {
    input.set(is_something_left());
}

void agentx_link_idle() {
    in_flight.done();
}

bool agentx_link_has_room() {
    const int sock = master().socket();
    if (sock < 0 || !is_up)
        return true;
    master().flush();
    if (master().wants_to_write())
        return false;
    // A stream socket can be written to while less than a quarter of its buffer is taken.
    pollfd queue = {.fd = sock, .events = POLLOUT, .revents = 0};
    const bool has_room = poll(&queue, 1, 0) != 0;
    if ((queue.revents & (POLLHUP | POLLERR)) != 0)
        master().hang_up();
    note_loss();
    return has_room;
}

unsigned agentx_link_losses() {
    return losses;
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
    netsnmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_POST_READ_CONFIG, claim_address, nullptr,
                              NETSNMP_CALLBACK_HIGHEST_PRIORITY);
}
