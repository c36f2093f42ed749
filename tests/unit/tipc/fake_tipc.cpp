#include "fake_tipc.h"

#include "../support/carrier.h"
#include "../support/private_net.h"
#include "../support/temp_dir.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>

#include <dlfcn.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using fake_tipc::Bytes;

constexpr size_t RETURNED_MAX = 1024;

struct Message {
    Bytes bytes;
    uint32_t error = TIPC_OK; // why it came back
    int sender = -1;
};

struct Socket {
    fake_tipc::Told told;
    int wire = -1; // the kernel's end: a byte for each message that waits
    std::deque<Message> queue;
    int broken = 0;
};

// Socket calls come from several threads.
std::recursive_mutex g_guard;
bool g_active = false;
std::array<std::optional<Socket>, 1024> g_sockets; // by descriptor
bool g_hold_returns = false;
std::vector<Message> g_held; // messages on their way back
size_t g_turn = 0;           // of those who have the same name
int g_send_error = 0;
int g_topology_error = 0;
std::vector<int> g_topology;

template <typename Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

Socket* find(int fd) {
    return g_active && fd >= 0 && size_t(fd) < g_sockets.size() && g_sockets[size_t(fd)]
               ? &*g_sockets[size_t(fd)]
               : nullptr;
}

bool is_ours(int fd) {
    const std::lock_guard lock(g_guard);
    return find(fd) != nullptr;
}

int fail(int error) {
    errno = error;
    return -1;
}

// The address if it is one.
const sockaddr_tipc* address_of(const sockaddr* address, socklen_t length) {
    const auto* tipc = reinterpret_cast<const sockaddr_tipc*>(address);
    return address != nullptr && length >= sizeof(sockaddr_tipc) && tipc->family == AF_TIPC ? tipc : nullptr;
}

void enqueue(Socket& to, Message message) {
    to.queue.push_back(std::move(message));
    EXPECT_EQ(send(to.wire, "m", 1, MSG_DONTWAIT | MSG_NOSIGNAL), 1);
}

// Messages that came back don't come back again.
void give_back(const Message& message, uint32_t error) {
    Socket* sender = find(message.sender);
    if (sender == nullptr || message.error != TIPC_OK || sender->told.dest_droppable != 0)
        return;
    Message back = {.bytes = message.bytes, .error = error, .sender = message.sender};
    back.bytes.resize(std::min(back.bytes.size(), RETURNED_MAX));
    if (g_hold_returns)
        g_held.push_back(std::move(back));
    else
        enqueue(*sender, std::move(back));
}

void deliver(Socket& to, const Message& message) {
    if (to.queue.size() < fake_tipc::QUEUE_LIMIT)
        enqueue(to, message);
    else
        give_back(message, TIPC_ERR_OVERLOAD);
}

std::vector<Socket*> named(uint32_t type, uint32_t low, uint32_t high) {
    std::vector<Socket*> found;
    for (auto& socket : g_sockets) {
        const auto matches = [&](const sockaddr_tipc& name) {
            return name.addr.nameseq.type == type && name.addr.nameseq.lower >= low &&
                   name.addr.nameseq.lower <= high;
        };
        if (socket && std::any_of(socket->told.names.begin(), socket->told.names.end(), matches))
            found.push_back(&*socket);
    }
    return found;
}

void put_ancillary(msghdr& msg, size_t& used, int type, const void* data, size_t size) {
    if (msg.msg_controllen < used + CMSG_SPACE(size)) {
        msg.msg_flags |= MSG_CTRUNC;
        return;
    }
    auto* item = reinterpret_cast<cmsghdr*>(static_cast<char*>(msg.msg_control) + used);
    item->cmsg_len = CMSG_LEN(size);
    item->cmsg_level = SOL_TIPC;
    item->cmsg_type = type;
    std::memcpy(CMSG_DATA(item), data, size);
    used += CMSG_SPACE(size);
}

size_t put_body(msghdr& msg, const Bytes& bytes) {
    size_t done = 0;
    for (size_t n = 0; n < msg.msg_iovlen && done < bytes.size(); n++) {
        const size_t part = std::min(msg.msg_iov[n].iov_len, bytes.size() - done);
        std::memcpy(msg.msg_iov[n].iov_base, bytes.data() + done, part);
        done += part;
    }
    if (done < bytes.size())
        msg.msg_flags |= MSG_TRUNC;
    return done; // the kernel doesn't tell more, whatever flag asks for it
}

size_t put_returned(msghdr& msg, const Message& message) {
    if (msg.msg_controllen == 0)
        return 0;
    size_t used = 0;
    const uint32_t info[] = {message.error, uint32_t(message.bytes.size())};
    put_ancillary(msg, used, TIPC_ERRINFO, info, sizeof(info));
    put_ancillary(msg, used, TIPC_RETDATA, message.bytes.data(), message.bytes.size());
    msg.msg_controllen = used;
    return 0;
}

int open_socket(int type) {
    const int kind = type & ~(SOCK_CLOEXEC | SOCK_NONBLOCK);
    int ends[2];
    if (socketpair(AF_UNIX, (kind == SOCK_SEQPACKET ? SOCK_SEQPACKET : SOCK_STREAM) | (type & SOCK_CLOEXEC),
                   0, ends) != 0)
        return -1;
    Socket& made = g_sockets.at(size_t(ends[0])).emplace();
    made.told.type = kind;
    made.wire = ends[1];
    return ends[0];
}

// What can't be asked of a real kernel ends the body.
void only_played(const char* what) {
    if (g_active)
        return;
    printf("A kernel's TIPC has no %s\n", what);
    fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : private_net::SKIPPED);
}

} // namespace

namespace fake_tipc {

void enter() {
    g_active = !carrier::is_tipc();
}

void hold_returns() {
    only_played("returns at a test's command");
    const std::lock_guard lock(g_guard);
    g_hold_returns = true;
}

void release_returns(bool backwards) {
    const std::lock_guard lock(g_guard);
    g_hold_returns = false;
    std::vector<Message> held = std::exchange(g_held, {});
    if (backwards)
        std::reverse(held.begin(), held.end());
    for (Message& message : held)
        if (Socket* sender = find(message.sender))
            enqueue(*sender, std::move(message));
}

void run(const std::function<void()>& body) {
    private_net::run([&] {
        enter();
        const ScopedEnv carrier("OV_IPC_CARRIER", "tipc");
        body();
    });
}

Told told(int sock) {
    only_played("record of calls");
    const std::lock_guard lock(g_guard);
    const Socket* found = find(sock);
    EXPECT_NE(found, nullptr);
    return found == nullptr ? Told{} : found->told;
}

uint32_t waiting(uint32_t type, uint32_t instance) {
    only_played("view into another's queue");
    const std::lock_guard lock(g_guard);
    const auto found = named(type, instance, instance);
    return found.empty() ? 0 : uint32_t(found.front()->queue.size());
}

void fail_next_send(int error) {
    only_played("failures at a test's command");
    g_send_error = error;
}

void break_socket(int sock, int error) {
    only_played("failures at a test's command");
    const std::lock_guard lock(g_guard);
    find(sock)->broken = error;
}

void deliver_to_port(int sock, const Bytes& bytes) {
    only_played("messages at a test's command");
    const std::lock_guard lock(g_guard);
    enqueue(*find(sock), {.bytes = bytes});
}

std::vector<int> topology_connections() {
    only_played("topology service at a test's command");
    const std::lock_guard lock(g_guard);
    return g_topology;
}

void refuse_topology(int error) {
    only_played("topology service at a test's command");
    g_topology_error = error;
}

} // namespace fake_tipc

// ---- the program's socket calls ----------------------------------------------------------------------

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
    const std::lock_guard lock(g_guard);
    if (g_active && domain == AF_TIPC)
        return open_socket(type);
    static auto* const next = real<int(int, int, int)>("socket");
    return next(domain, type, protocol);
}

int close(int fd) {
    static auto* const next = real<int(int)>("close");
    const std::lock_guard lock(g_guard);
    if (find(fd) != nullptr) {
        const Socket closed = std::move(*g_sockets[size_t(fd)]);
        g_sockets[size_t(fd)].reset();
        for (const Message& message : closed.queue)
            give_back(message, TIPC_ERR_NO_PORT);
        if (closed.told.type != SOCK_SEQPACKET)
            next(closed.wire);
    }
    return next(fd);
}

int bind(int fd, const sockaddr* address, socklen_t length) noexcept {
    const std::lock_guard lock(g_guard);
    if (Socket* socket = find(fd)) {
        const sockaddr_tipc* name = address_of(address, length);
        if (name == nullptr || (name->addrtype != TIPC_SERVICE_ADDR && name->addrtype != TIPC_SERVICE_RANGE))
            return fail(EINVAL);
        if (name->addr.nameseq.type < TIPC_RESERVED_TYPES)
            return fail(EACCES);
        socket->told.names.push_back(*name);
        return 0;
    }
    static auto* const next = real<int(int, const sockaddr*, socklen_t)>("bind");
    return next(fd, address, length);
}

int connect(int fd, const sockaddr* address, socklen_t length) {
    static auto* const next = real<int(int, const sockaddr*, socklen_t)>("connect");
    const std::lock_guard lock(g_guard);
    Socket* socket = find(fd);
    if (socket == nullptr)
        return next(fd, address, length);
    const sockaddr_tipc* name = address_of(address, length);
    if (g_topology_error != 0)
        return fail(g_topology_error);
    if (name == nullptr || name->addrtype != TIPC_SERVICE_ADDR || socket->told.type != SOCK_SEQPACKET)
        return fail(EINVAL);
    if (name->addr.name.name.type != TIPC_TOP_SRV || name->addr.name.name.instance != TIPC_TOP_SRV)
        return fail(EHOSTUNREACH);
    g_topology.push_back(socket->wire);
    return 0;
}

int setsockopt(int fd, int level, int option, const void* value, socklen_t length) noexcept {
    const std::lock_guard lock(g_guard);
    static auto* const next = real<int(int, int, int, const void*, socklen_t)>("setsockopt");
    Socket* socket = find(fd);
    if (socket == nullptr)
        return next(fd, level, option, value, length);
    uint32_t number = 0;
    if (length >= sizeof(number))
        std::memcpy(&number, value, sizeof(number));
    if (level == SOL_TIPC) {
        if (length < sizeof(number))
            return fail(EINVAL);
        if (option == TIPC_IMPORTANCE)
            socket->told.importance = number;
        else if (option == TIPC_DEST_DROPPABLE)
            socket->told.dest_droppable = number;
        else
            return fail(ENOPROTOOPT);
        return 0;
    }
    if (level == SOL_SOCKET && (option == SO_RCVBUF || option == SO_RCVBUFFORCE))
        socket->told.receive_buffer = int(number);
    if (level == SOL_SOCKET && (option == SO_SNDBUF || option == SO_SNDBUFFORCE))
        socket->told.send_buffer = int(number);
    return next(fd, level, option, value, length);
}

int getsockopt(int fd, int level, int option, void* value, socklen_t* length) noexcept {
    const std::lock_guard lock(g_guard);
    static auto* const next = real<int(int, int, int, void*, socklen_t*)>("getsockopt");
    const Socket* socket = find(fd);
    if (socket == nullptr || level != SOL_TIPC)
        return next(fd, level, option, value, length);
    const auto depth = uint32_t(socket->queue.size());
    if (option != TIPC_SOCK_RECVQ_DEPTH || *length < sizeof(depth))
        return fail(EINVAL);
    std::memcpy(value, &depth, sizeof(depth));
    return 0;
}

ssize_t sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address, socklen_t length) {
    static auto* const next =
        real<ssize_t(int, const void*, size_t, int, const sockaddr*, socklen_t)>("sendto");
    if (!is_ours(fd) || address == nullptr) // which may wait: without the lock
        return next(fd, data, size, flags, address, length);
    const std::lock_guard lock(g_guard);
    if (g_send_error != 0)
        return fail(std::exchange(g_send_error, 0));
    const sockaddr_tipc* to = address_of(address, length);
    if (to == nullptr || (flags & MSG_DONTWAIT) == 0)
        return fail(EINVAL);
    if (size > TIPC_MAX_USER_MSG_SIZE)
        return fail(EMSGSIZE);
    std::vector<Socket*> receivers;
    if (to->addrtype == TIPC_SERVICE_ADDR && to->addr.name.domain == 0)
        receivers = named(to->addr.name.name.type, to->addr.name.name.instance, to->addr.name.name.instance);
    else if (to->addrtype == TIPC_ADDR_MCAST)
        receivers = named(to->addr.nameseq.type, to->addr.nameseq.lower, to->addr.nameseq.upper);
    if (receivers.empty())
        return fail(EHOSTUNREACH);
    if (to->addrtype == TIPC_SERVICE_ADDR)
        receivers = {receivers[g_turn++ % receivers.size()]};
    const auto* bytes = static_cast<const uint8_t*>(data);
    for (Socket* receiver : receivers)
        deliver(*receiver, {Bytes(bytes, bytes + size), TIPC_OK, fd});
    return ssize_t(size);
}

ssize_t recvmsg(int fd, msghdr* msg, int flags) {
    static auto* const next = real<ssize_t(int, msghdr*, int)>("recvmsg");
    if (!is_ours(fd))
        return next(fd, msg, flags);
    {
        const std::lock_guard lock(g_guard);
        const Socket* socket = find(fd);
        if (socket->broken != 0)
            return fail(socket->broken);
    }
    if (msg->msg_iovlen == 0)
        return fail(EINVAL);
    char token = 0;
    if (recv(fd, &token, 1, flags & (MSG_DONTWAIT | MSG_PEEK)) != 1)
        return -1;
    const std::lock_guard lock(g_guard);
    Socket& socket = *find(fd);
    const Message message = socket.queue.front();
    if ((flags & MSG_PEEK) == 0)
        socket.queue.pop_front();
    msg->msg_flags = 0;
    if (message.error != TIPC_OK)
        return ssize_t(put_returned(*msg, message));
    msg->msg_controllen = 0;
    return ssize_t(put_body(*msg, message.bytes));
}
}
