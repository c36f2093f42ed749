#include "controller.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include "byte_order.h"
#include "text.h"

namespace {

constexpr uint32_t ERR_PARAM = 101004; // the platform's "bad parameter"

sockaddr_in loopback(uint16_t port) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(port);
    return addr;
}

Fd tcp_socket() {
    Fd fd(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    if (fd)
        setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    return fd;
}

void send_at_once(int fd) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

NamedValues frame_values(const Controller::Connection& conn, const Frame& frame) {
    const MessageType* type = find_message(frame.type);
    return {{"conn", std::to_string(conn.id)},
            {"type", type ? type->name : std::to_string(frame.type)},
            {"seq", std::to_string(frame.seq)},
            {"len", std::to_string(frame.body.size())}};
}

NamedValues& operator+=(NamedValues& values, NamedValues more) {
    values.insert(values.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    return values;
}

} // namespace

const char* role_name(Controller::Role role) {
    return role == Controller::Role::SYNC ? "sync" : "async";
}

// What goes back to the daemon, before any fault changes it.
struct Controller::Reply {
    uint32_t errcode = 0;
    std::vector<uint8_t> data;
    uint8_t type = UMSG_REPLY;
    uint32_t seq = 0;
    uint32_t len_add = 0; // added to the length of data in the head
    std::optional<size_t> body_size;
    FrameOverrides header;

    std::vector<uint8_t> bytes() const {
        const umsg_reply_head_t head{
            daemon_order::swapped_if_foreign(errcode),
            daemon_order::swapped_if_foreign(static_cast<uint32_t>(data.size()) + len_add)};
        std::vector<uint8_t> body(sizeof head);
        std::memcpy(body.data(), &head, sizeof head);
        body.insert(body.end(), data.begin(), data.end());
        if (body_size)
            body.resize(std::min(*body_size, body.size()));
        return encode_frame({type, seq, std::move(body)}, header);
    }
};

Controller::~Controller() {
    session_handler_ = nullptr;
    stop_listening();
    for (const auto& [id, conn] : connections_)
        loop_.unwatch(conn->fd.get());
}

bool Controller::listen(std::string& error) {
    if (listener_)
        return true;
    Fd fd = tcp_socket();
    const sockaddr_in addr = loopback(PORT);
    if (!fd || bind(fd.get(), reinterpret_cast<const sockaddr*>(&addr), sizeof addr) != 0 ||
        ::listen(fd.get(), 5) != 0) {
        error = format("controller: 127.0.0.1 port %u: %s", PORT, std::strerror(errno));
        return false;
    }
    listener_ = std::move(fd);
    loop_.watch(listener_.get(), POLLIN, [this](short) { accept_one(); });
    return true;
}

void Controller::stop_listening() {
    if (!listener_)
        return;
    loop_.unwatch(listener_.get());
    listener_.reset();
}

// ---- connections ---------------------------------------------------------------------------------

Controller::Connection& Controller::add_connection(Fd fd, Role role, uint16_t peer_port) {
    const uint32_t id = next_id_++;
    auto conn = std::make_unique<Connection>();
    conn->id = id;
    conn->role = role;
    conn->peer_port = peer_port;
    conn->fd = std::move(fd);
    send_at_once(conn->fd.get());
    loop_.watch(conn->fd.get(), POLLIN, [this, id](short revents) { handle_ready(id, revents); });
    return *(connections_[id] = std::move(conn));
}

void Controller::accept_one() {
    sockaddr_in addr{};
    socklen_t len = sizeof addr;
    Fd fd(accept4(listener_.get(), reinterpret_cast<sockaddr*>(&addr), &len, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!fd)
        return;
    const uint64_t since = records_.last_id();
    Connection& conn = add_connection(std::move(fd), Role::SYNC, ntohs(addr.sin_port));
    records_.add(
        "accepted",
        {{"conn", std::to_string(conn.id)}, {"role", "sync"}, {"port", std::to_string(conn.peer_port)}});
    if (conn.peer_port != DAEMON_PORT)
        return;
    session_sync_ = conn.id;
    session_async_ = 0;
    session_since_ = since;
    stages_.clear();
    connect_back(conn);
}

void Controller::connect_back(Connection& sync) {
    const auto port = static_cast<uint16_t>(sync.peer_port + 1);
    std::string error;
    const auto fault = faults_.take_for_connect_back();
    if (!fault) {
        connect_async(port, error);
        return;
    }
    records_.add("fault", {{"conn", std::to_string(sync.id)}, {"fault", fault->what->name}});
    if (fault->what->kind == FaultKind::NO_CONNECT_BACK)
        return;
    loop_.after(std::chrono::milliseconds(fault->value), [this, id = sync.id, port] {
        std::string ignored; // it is in the records
        if (connections_.contains(id))
            connect_async(port, ignored);
    });
}

uint32_t Controller::connect_async(uint16_t port, std::string& error) {
    Fd fd = tcp_socket();
    const sockaddr_in addr = loopback(port);
    if (!fd) {
        error = std::strerror(errno);
        return 0;
    }
    const int rc = connect(fd.get(), reinterpret_cast<const sockaddr*>(&addr), sizeof addr);
    if (rc != 0 && errno != EINPROGRESS) {
        error = format("port %u: %s", port, std::strerror(errno));
        records_.add("connect-failed", {{"role", "async"}, {"port", std::to_string(port)}, {"error", error}});
        return 0;
    }
    Connection& conn = add_connection(std::move(fd), Role::ASYNC, port);
    conn.connecting = rc != 0;
    if (conn.connecting)
        loop_.set_events(conn.fd.get(), POLLOUT);
    else
        async_connected(conn);
    return conn.id;
}

void Controller::async_connected(Connection& conn) {
    records_.add(
        "connected",
        {{"conn", std::to_string(conn.id)}, {"role", "async"}, {"port", std::to_string(conn.peer_port)}});
    if (session_async_ != 0)
        return;
    session_async_ = conn.id;
    if (session_handler_)
        session_handler_(true);
}

void Controller::finish_connecting(Connection& conn) {
    int error = 0;
    socklen_t len = sizeof error;
    getsockopt(conn.fd.get(), SOL_SOCKET, SO_ERROR, &error, &len);
    if (error != 0) {
        drop(conn.id, "daemon", std::strerror(error));
        return;
    }
    conn.connecting = false;
    loop_.set_events(conn.fd.get(), static_cast<short>(POLLIN | (conn.output.empty() ? 0 : POLLOUT)));
    async_connected(conn);
}

void Controller::handle_ready(uint32_t id, short revents) {
    const auto it = connections_.find(id);
    if (it == connections_.end())
        return;
    Connection& conn = *it->second;
    if (conn.connecting) {
        finish_connecting(conn);
        return;
    }
    if ((revents & POLLOUT) && !flush(conn))
        return;
    if (revents & (POLLIN | POLLHUP | POLLERR))
        read_from(conn);
}

// False when the connection is gone.
bool Controller::read_from(Connection& conn) {
    uint8_t buffer[UMSG_HEADER_SIZE + UMSG_MAX_BODY];
    const ssize_t got = recv(conn.fd.get(), buffer, sizeof buffer, 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return true;
    if (got <= 0) {
        if (conn.reader.pending() != 0)
            refuse(conn, "unfinished-frame", {{"bytes", std::to_string(conn.reader.pending())}});
        drop(conn.id, "daemon", got < 0 ? std::strerror(errno) : "end of file");
        return false;
    }
    if (conn.role == Role::ASYNC) { // the daemon only listens there
        refuse(conn, "data-on-async",
               {{"body", to_hex({buffer, std::min<size_t>(static_cast<size_t>(got), 64)})}});
        return true;
    }
    conn.reader.feed({buffer, static_cast<size_t>(got)});
    return handle_frames(conn);
}

bool Controller::handle_frames(Connection& conn) {
    const uint32_t id = conn.id;
    Frame frame;
    for (;;) {
        switch (conn.reader.next(frame)) {
        case FrameReader::Result::NEED_MORE:
            return true;
        case FrameReader::Result::FRAME:
            handle_request(conn, frame);
            if (!connections_.contains(id))
                return false;
            break;
        case FrameReader::Result::BAD_VERSION:
            refuse(conn, "version", {{"version", std::to_string(conn.reader.version())}});
            drop(id, "controller", "bad version");
            return false;
        case FrameReader::Result::TOO_LONG:
            refuse(conn, "length", {{"len", std::to_string(conn.reader.length())}});
            drop(id, "controller", "bad length");
            return false;
        }
    }
}

void Controller::drop(uint32_t id, std::string_view by, std::string_view why) {
    const auto it = connections_.find(id);
    if (it == connections_.end())
        return;
    const std::unique_ptr<Connection> conn = std::move(it->second);
    connections_.erase(it);
    loop_.unwatch(conn->fd.get());
    records_.add("closed", {{"conn", std::to_string(id)},
                            {"role", role_name(conn->role)},
                            {"by", std::string(by)},
                            {"why", std::string(why)}});
    if (id == session_sync_)
        session_sync_ = 0;
    if (id != session_async_)
        return;
    session_async_ = 0;
    if (session_handler_)
        session_handler_(false);
}

size_t Controller::close_all(std::optional<Role> role) {
    std::vector<uint32_t> ids;
    for (const auto& [id, conn] : connections_) {
        if (!role || conn->role == *role)
            ids.push_back(id);
    }
    for (uint32_t id : ids)
        drop(id, "controller", "on request");
    return ids.size();
}

bool Controller::close_one(uint32_t id) {
    if (!connections_.contains(id))
        return false;
    drop(id, "controller", "on request");
    return true;
}

// ---- requests ------------------------------------------------------------------------------------

void Controller::refuse(const Connection& conn, std::string_view reason, NamedValues more) {
    NamedValues values{{"conn", std::to_string(conn.id)}, {"reason", std::string(reason)}};
    values += std::move(more);
    records_.add("refused", std::move(values));
}

// Why a request isn't taken; null when it is. type is the request's, or null when unknown.
const char* Controller::objection(const Frame& frame, const MessageType*& type) const {
    type = find_message(frame.type);
    if (!type)
        return "unknown-type";
    if (!type->request)
        return "not-a-request";
    if (frame.body.size() != type->request->size)
        return "body-size";
    return unterminated_text(*type->request, frame.body) ? "unterminated-text" : nullptr;
}

void Controller::handle_request(Connection& conn, const Frame& frame) {
    const MessageType* type = nullptr;
    const char* why = objection(frame, type);
    Reply reply;
    if (why) {
        reply.errcode = ERR_PARAM;
        refuse(conn, why, frame_values(conn, frame));
    } else {
        NamedValues values = frame_values(conn, frame);
        values += decode_body(*type->request, frame.body);
        records_.add("request", std::move(values));
        accept_request(*type, frame);
        if (frame.type == UMSG_GET_HOSTNAME)
            reply.data.assign(hostname_.begin(), hostname_.end());
    }
    reply.seq = frame.seq;
    answer(conn, frame, std::move(reply));
}

void Controller::accept_request(const MessageType& type, const Frame& frame) {
    if (type.number == UMSG_SNMP_MIB_TABLE_SAVE) {
        std::string error; // without a connection for events nobody is to be told
        send_event(type, 0, 0, frame.body, error);
    }
    if (type.number != UMSG_CFG_APP_SYNC_PRIO)
        return;
    umsg_cfg_sync_t body;
    std::memcpy(&body, frame.body.data(), sizeof body);
    Stage stage{daemon_order::swapped_if_foreign(body.appid), daemon_order::swapped_if_foreign(body.cfg_prio),
                body.appName};
    std::erase_if(stages_, [&](const Stage& s) { return s.appid == stage.appid && s.prio == stage.prio; });
    const auto at =
        std::find_if(stages_.begin(), stages_.end(), [&](const Stage& s) { return s.prio > stage.prio; });
    stages_.insert(at, std::move(stage));
}

void Controller::answer(Connection& conn, const Frame& request, Reply reply) {
    if (const auto fault = faults_.take_for_reply(request.type)) {
        NamedValues values = frame_values(conn, request);
        values.emplace_back("fault", fault->what->name);
        records_.add("fault", std::move(values));
        answer_with_fault(conn, request, reply, *fault);
        return;
    }
    queue(conn, reply.bytes());
}

void Controller::answer_with_fault(Connection& conn, const Frame& request, Reply& reply, const Fault& fault) {
    std::vector<uint8_t> bytes;
    switch (fault.what->kind) {
    case FaultKind::NO_REPLY:
    case FaultKind::NO_CONNECT_BACK:
    case FaultKind::LATE_CONNECT_BACK:
        return;
    case FaultKind::LATE:
        loop_.after(std::chrono::milliseconds(fault.value), [this, id = conn.id, late = reply.bytes()] {
            if (const auto it = connections_.find(id); it != connections_.end())
                queue(*it->second, late);
        });
        return;
    case FaultKind::CLOSE:
        drop(conn.id, "controller", "fault");
        return;
    case FaultKind::TRUNCATED:
        bytes = reply.bytes();
        bytes.resize(std::min<size_t>(bytes.size(), fault.value));
        conn.close_when_sent = true;
        queue(conn, bytes);
        return;
    case FaultKind::CODE:
        reply.errcode = fault.value;
        break;
    case FaultKind::WRONG_SEQ:
        reply.seq = request.seq + fault.value;
        break;
    case FaultKind::WRONG_TYPE:
        reply.type = static_cast<uint8_t>(fault.value);
        break;
    case FaultKind::OVERSIZE:
        reply.data.assign(fault.value, 'x');
        break;
    case FaultKind::BAD_LEN:
        reply.len_add = fault.value;
        break;
    case FaultKind::SHORT_REPLY:
        reply.body_size = fault.value;
        break;
    case FaultKind::BAD_VERSION:
        reply.header.version = static_cast<uint8_t>(fault.value);
        break;
    case FaultKind::LOSE: // these are the line cards' own
    case FaultKind::DUPLICATE:
    case FaultKind::WRONG_MESSAGE:
    case FaultKind::STOP:
    case FaultKind::SLOW:
    case FaultKind::BEHIND_NEXT:
    case FaultKind::BAD_NLMSG_LEN:
        break;
    }
    queue(conn, reply.bytes());
}

// ---- output --------------------------------------------------------------------------------------

void Controller::queue(Connection& conn, std::span<const uint8_t> bytes) {
    if (conn.output.size() + bytes.size() > MAX_OUTPUT) {
        drop(conn.id, "controller", "the daemon doesn't read");
        return;
    }
    conn.output.insert(conn.output.end(), bytes.begin(), bytes.end());
    if (!conn.connecting)
        flush(conn);
}

// False when the connection is gone.
bool Controller::flush(Connection& conn) {
    while (!conn.output.empty()) {
        const ssize_t sent = ::send(conn.fd.get(), conn.output.data(), conn.output.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent < 0 && errno != EAGAIN) {
            drop(conn.id, "daemon", std::strerror(errno));
            return false;
        }
        if (sent < 0)
            break;
        conn.output.erase(conn.output.begin(), conn.output.begin() + sent);
    }
    if (conn.output.empty() && conn.close_when_sent) {
        drop(conn.id, "controller", "fault");
        return false;
    }
    loop_.set_events(conn.fd.get(), static_cast<short>(POLLIN | (conn.output.empty() ? 0 : POLLOUT)));
    return true;
}

uint32_t Controller::send(uint32_t conn, std::span<const uint8_t> bytes, std::string& error) {
    const uint32_t id = conn != 0 ? conn : session_async_;
    const auto it = connections_.find(id);
    if (it == connections_.end()) {
        error = conn != 0 ? format("no connection %u", conn) : "no asynchronous connection to the daemon";
        return 0;
    }
    queue(*it->second, bytes);
    if (!connections_.contains(id)) {
        error = format("connection %u was lost", id);
        return 0;
    }
    return id;
}

uint32_t Controller::send_frame(uint32_t conn, const Frame& frame, const FrameOverrides& overrides,
                                std::string& error) {
    return send(conn, encode_frame(frame, overrides), error);
}

bool Controller::send_event(const MessageType& type, uint32_t conn, uint32_t seq, std::vector<uint8_t> body,
                            std::string& error) {
    const Frame frame{type.number, seq, std::move(body)};
    const uint32_t id = send_frame(conn, frame, {}, error);
    if (id == 0)
        return false;
    NamedValues values = frame_values(*connections_.at(id), frame);
    if (type.event && frame.body.size() == type.event->size)
        values += decode_body(*type.event, frame.body);
    else
        values.emplace_back("body", to_hex(frame.body));
    records_.add("event", std::move(values));
    return true;
}
