#include "agentx_master.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "ov_clock.h"
#include "ov_product_log.h"

namespace {

constexpr char DESCRIPTION[] = "gpon"; // of the session, for the master's list of them
constexpr uint32_t OPEN_PACKET = 0;    // the library counts from 1

bool is_later(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

bool has_answer(AgentxPduType type) {
    return type != AgentxPduType::NOTIFY && type != AgentxPduType::RESPONSE;
}

// A socket that connects, or -1 with errno. A Unix socket with a full queue counts as absent.
int connecting_socket(const AgentxAddress& address) {
    const int sock = ::socket(address.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (sock < 0)
        return -1;
    int error = 0;
    if (sock >= AGENTX_FD_MAX) {
        OV_LOG_ERROR("SNMP", "descriptor %d is too high for AgentX", sock);
        error = EMFILE;
    } else if (connect(sock, reinterpret_cast<const sockaddr*>(&address.address), address.length) != 0) {
        error = errno == EINPROGRESS ? 0 : errno;
    }
    if (error == 0)
        return sock;
    ::close(sock);
    errno = error;
    return -1;
}

} // namespace

AgentxMaster::~AgentxMaster() {
    close();
}

bool AgentxMaster::begin(const AgentxAddress& address) {
    close();
    sock_ = connecting_socket(address);
    if (sock_ < 0)
        return false;
    send(agentx_make_open(OPEN_PACKET, DESCRIPTION));
    return true;
}

void AgentxMaster::close() {
    if (sock_ >= 0)
        ::close(sock_);
    sock_ = -1;
    has_ended_ = was_mute_ = was_heard_ = false;
    gate_ = {};
    for_library_.clear();
    waiting_.clear();
    asked_.clear();
    session_.reset();
}

void AgentxMaster::end() {
    shutdown(sock_, SHUT_RDWR);
    has_ended_ = true;
    was_mute_ = !was_heard_;
    waiting_.clear();
    asked_.clear();
}

void AgentxMaster::give_up(const char* why) {
    if (socket() < 0)
        return;
    if (!is_said_)
        OV_LOG_WARN("SNMP", "AgentX master agent %s, connection given up", why);
    is_said_ = true;
    end();
}

void AgentxMaster::hang_up() {
    if (receive())
        end();
}

// ---- from the master --------------------------------------------------------------------------------

bool AgentxMaster::receive() {
    constexpr int PIECES = 16; // in one go: the master doesn't keep the loop
    std::array<uint8_t, 16384> piece;
    for (int n = 0; n < PIECES && wants_to_read(); n++) {
        const ssize_t got = recv(sock_, piece.data(), piece.size(), MSG_DONTWAIT);
        if (got < 0 && (is_later(errno) || errno == ENOTCONN))
            return true;
        const bool is_sound = got > 0 && gate_.pass(std::span(piece).first(static_cast<size_t>(got)));
        while (auto pdu = gate_.next())
            take(std::move(*pdu));
        if (got <= 0)
            end();
        else if (!is_sound)
            give_up("sends what isn't AgentX");
        if (static_cast<size_t>(got) < piece.size())
            break; // the rest comes with the next event
    }
    return socket() >= 0;
}

void AgentxMaster::take(AgentxPdu pdu) {
    alive_ = ov_mono_now();
    was_heard_ = true;
    is_said_ = false;
    const auto header = agentx_header(pdu);
    if (header->type == AgentxPduType::RESPONSE)
        take_response(*header, std::move(pdu));
    else
        for_library_.push_back(std::move(pdu));
}

// The library has had its answer already, but for notifications.
void AgentxMaster::take_response(const AgentxHeader& header, AgentxPdu pdu) {
    const auto asked = asked_.find(header.packet);
    if (asked == asked_.end())
        return for_library_.push_back(std::move(pdu));
    const AgentxPduType type = asked->second;
    asked_.erase(asked);
    const unsigned error = agentx_response_error(pdu);
    if (error == 0 && type == AgentxPduType::OPEN)
        session_ = header.session;
    else if (error != 0 && type == AgentxPduType::OPEN)
        give_up("refuses the session");
    else if (error != 0 && type == AgentxPduType::PING)
        give_up("doesn't know the session");
    else if (error != 0 && type == AgentxPduType::REGISTER)
        OV_LOG_WARN("SNMP", "AgentX master agent refuses to register an object, error %u", error);
}

std::optional<AgentxPdu> AgentxMaster::next() {
    if (for_library_.empty())
        return std::nullopt;
    AgentxPdu pdu = std::move(for_library_.front());
    for_library_.pop_front();
    return pdu;
}

namespace {

bool is_of_type(const AgentxPdu& pdu, AgentxPduType type) {
    return agentx_header(pdu)->type == type;
}
bool is_response(const AgentxPdu& pdu) {
    return is_of_type(pdu, AgentxPduType::RESPONSE);
}

} // namespace

bool AgentxMaster::is_next(AgentxPduType type) const {
    return has_next() && is_of_type(for_library_.front(), type) &&
           agentx_header(for_library_.front())->session == session_;
}

std::optional<AgentxPdu> AgentxMaster::next_response() {
    const auto found = std::find_if(for_library_.begin(), for_library_.end(), is_response);
    if (found == for_library_.end())
        return std::nullopt;
    AgentxPdu pdu = std::move(*found);
    for_library_.erase(found);
    return pdu;
}

bool AgentxMaster::has_response() const {
    return std::any_of(for_library_.begin(), for_library_.end(), is_response);
}

bool AgentxMaster::drop_undone_commits() {
    using enum AgentxPduType;
    const auto undo = std::find_if(for_library_.begin(), for_library_.end(),
                                   [](const AgentxPdu& pdu) { return is_of_type(pdu, UNDO_SET); });
    if (undo == for_library_.end())
        return false;
    const auto kept = std::remove_if(for_library_.begin(), undo,
                                     [](const AgentxPdu& pdu) { return is_of_type(pdu, COMMIT_SET); });
    for_library_.erase(kept, undo);
    return true;
}

// ---- to the master ----------------------------------------------------------------------------------

bool AgentxMaster::send(std::span<const uint8_t> pdu) {
    if (socket() < 0)
        return false;
    if (const auto header = agentx_header(pdu))
        note_sent(*header);
    waiting_.append(reinterpret_cast<const char*>(pdu.data()), pdu.size());
    if (waiting_.size() == pdu.size())
        flush(); // nothing else waited
    if (waiting_.size() > MAX_WAITING)
        give_up("takes no more requests");
    return socket() >= 0;
}

void AgentxMaster::note_sent(const AgentxHeader& header) {
    if (asked_.empty() && waiting_.empty())
        alive_ = ov_mono_now(); // it owed nothing until now
    if (has_answer(header.type))
        asked_[header.packet] = header.type;
}

void AgentxMaster::flush() {
    while (wants_to_write()) {
        const ssize_t sent = ::send(sock_, waiting_.data(), waiting_.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && (is_later(errno) || errno == ENOTCONN))
            return;
        if (sent <= 0)
            return end();
        alive_ = asked_.empty() ? ov_mono_now() : alive_;
        waiting_.erase(0, static_cast<size_t>(sent));
    }
}

void AgentxMaster::check_silence() {
    if (socket() < 0 || (asked_.empty() && waiting_.empty()) ||
        ov_mono_now() - alive_ < std::chrono::milliseconds(AGENTX_SILENCE_MS))
        return;
    give_up(waiting_.empty() ? "doesn't answer" : "takes no more requests");
}
