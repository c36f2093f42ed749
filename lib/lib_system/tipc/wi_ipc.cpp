// What both carriers share.
#include "wi_ipc.h"

#include "ov_clock.h"
#include "ov_product_log.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

void close_socket(int& sock) {
    if (sock >= 0)
        close(sock);
    sock = -1;
}

int limit_receive_call(int sock) {
    constexpr timeval limit = {0, std::chrono::microseconds(WI_IPC_SOON).count()};
    return setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) == 0 ? 0 : errno;
}

int open_all(const wi_ipc_name& own, wi_ipc_register_result_st& reg) {
    if (const int error = reg.carrier->open_sockets(own, reg))
        return error;
    if (const int error = limit_receive_call(reg.rcv_sock))
        return error;
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) != 0)
        return errno;
    reg.returned_rd = pair[0];
    reg.returned_wr = pair[1];
    return wi_ipc_set_buffers(reg.returned_wr);
}

int remaining_ms(std::optional<std::chrono::steady_clock::time_point> deadline) {
    using namespace std::chrono;
    if (!deadline)
        return -1;
    const auto left = ceil<milliseconds>(*deadline - ov_wait_now()).count();
    constexpr int64_t AT_MOST =
        int64_t{3600} * 1000; // poll takes an int; the caller's loop waits for the rest
    return int(std::clamp<int64_t>(left, 0, AT_MOST));
}

} // namespace

const WiIpcCarrier* wi_ipc_choose_carrier() {
    static std::atomic_flag noticed;
    const char* chosen = getenv("OV_IPC_CARRIER");
    if (chosen == nullptr || *chosen == '\0') {
        if (wi_ipc_have_tipc())
            return &wi_ipc_tipc_carrier();
        if (!noticed.test_and_set())
            OV_LOG_NOTICE("IPC", "The kernel has no TIPC: the named IPC runs over Unix sockets");
        return &wi_ipc_unix_carrier();
    }
    for (const WiIpcCarrier* carrier : {&wi_ipc_tipc_carrier(), &wi_ipc_unix_carrier()})
        if (std::string_view(chosen) == carrier->name())
            return carrier;
    OV_LOG_ERROR("IPC", "OV_IPC_CARRIER is %s, which is neither tipc nor unix", chosen);
    return nullptr;
}

int wi_ipc_register(uint32_t serv_id, uint32_t sub_id, wi_ipc_register_result_st& reg) {
    reg.carrier = wi_ipc_choose_carrier();
    if (reg.carrier == nullptr)
        return EINVAL;
    const int error = open_all({serv_id + WI_IPC_TYPE_BASE, sub_id}, reg);
    if (error != 0)
        wi_ipc_unregister(reg);
    return error;
}

void wi_ipc_unregister(wi_ipc_register_result_st& reg) {
    for (int* sock : {&reg.rcv_sock, &reg.snd_sock, &reg.returned_rd, &reg.returned_wr})
        close_socket(*sock);
    reg.given_back = 0;
    reg.carrier = nullptr;
}

void wi_ipc_move(wi_ipc_register_result_st& to, wi_ipc_register_result_st& from) {
    wi_ipc_unregister(to);
    to.carrier = std::exchange(from.carrier, nullptr);
    to.rcv_sock = std::exchange(from.rcv_sock, -1);
    to.snd_sock = std::exchange(from.snd_sock, -1);
    to.returned_rd = std::exchange(from.returned_rd, -1);
    to.returned_wr = std::exchange(from.returned_wr, -1);
    to.given_back = from.given_back.exchange(0);
}

int wi_ipc_send(wi_ipc_register_result_st& reg, uint32_t serv_id, uint32_t sub_id,
                std::span<const uint8_t> frame) {
    return reg.carrier->send(reg, {serv_id + WI_IPC_TYPE_BASE, sub_id}, frame);
}

int wi_ipc_send_mcast(wi_ipc_register_result_st& reg, uint32_t serv_id, uint32_t low, uint32_t high,
                      std::span<const uint8_t> frame) {
    return reg.carrier->send_mcast(reg, serv_id + WI_IPC_TYPE_BASE, low, high, frame);
}

unsigned wi_ipc_wait(const wi_ipc_register_result_st& reg,
                     std::optional<std::chrono::steady_clock::time_point> deadline) {
    for (;;) {
        pollfd fds[] = {{reg.rcv_sock, POLLIN, 0}, {reg.snd_sock, POLLIN, 0}, {reg.returned_rd, POLLIN, 0}};
        const int ready = poll(fds, std::size(fds), remaining_ms(deadline));
        // A broken socket counts as ready: the receive call says what is wrong with it.
        if (ready > 0)
            return (fds[0].revents != 0 ? WI_IPC_MESSAGE : 0u) |
                   ((fds[1].revents | fds[2].revents) != 0 ? WI_IPC_RETURNED : 0u);
        if (deadline && ov_wait_now() >= *deadline)
            return WI_IPC_NOTHING;
    }
}

namespace {

wi_ipc_received receive_parts(int sock, std::span<iovec> parts, int flags) {
    msghdr msg = {};
    msg.msg_iov = parts.data();
    msg.msg_iovlen = parts.size();
    ssize_t length;
    do
        length = recvmsg(sock, &msg, flags);
    while (length < 0 && errno == EINTR && (flags & MSG_DONTWAIT) != 0);
    if (length < 0)
        return {errno == EINTR ? EAGAIN : errno, 0};
    // TIPC doesn't tell by how much a message was too long, so nobody is told.
    return {0, size_t(length) + ((msg.msg_flags & MSG_TRUNC) != 0 ? 1 : 0)};
}

iovec part_of(std::span<uint8_t> bytes) {
    return {bytes.data(), bytes.size()};
}

// A frame that was given back stands behind one byte, which says why.
wi_ipc_received take_given_back(const wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer,
                                bool peek) {
    uint8_t why = WI_IPC_GONE;
    iovec parts[] = {{&why, 1}, part_of(buffer.header), part_of(buffer.message)};
    wi_ipc_received got = receive_parts(reg.returned_rd, parts, MSG_DONTWAIT | (peek ? MSG_PEEK : 0));
    if (got.error == 0) {
        got.length--;
        got.why = wi_ipc_why(why);
    }
    return got;
}

} // namespace

wi_ipc_received wi_ipc_receive_from(int sock, const wi_ipc_frame_buffer& buffer, int flags) {
    iovec parts[] = {part_of(buffer.header), part_of(buffer.message)};
    const bool in_one = buffer.header.data() + buffer.header.size() == buffer.message.data();
    if (in_one)
        parts[0].iov_len += parts[1].iov_len;
    return receive_parts(sock, std::span(parts).first(in_one ? 1 : 2), flags);
}

wi_ipc_received wi_ipc_receive(const wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer) {
    return wi_ipc_receive_from(reg.rcv_sock, buffer, MSG_DONTWAIT);
}

wi_ipc_received wi_ipc_receive_soon(const wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer) {
    return wi_ipc_receive_from(reg.rcv_sock, buffer, 0);
}

wi_ipc_received wi_ipc_take_returned(wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer,
                                     bool peek) {
    const wi_ipc_received from_kernel = reg.carrier->take_returned(reg, buffer, peek);
    if (from_kernel.error != EAGAIN)
        return from_kernel;
    if (reg.given_back == 0)
        return from_kernel;
    const wi_ipc_received given_back = take_given_back(reg, buffer, peek);
    if (given_back.error == 0 && !peek)
        reg.given_back--;
    return given_back;
}

void wi_ipc_give_back(wi_ipc_register_result_st& reg, std::span<const uint8_t> frame, wi_ipc_why why) {
    reg.given_back++; // first, so that who finds the frame finds it counted
    iovec parts[] = {{&why, 1}, {const_cast<uint8_t*>(frame.data()), frame.size()}};
    msghdr msg = {};
    msg.msg_iov = parts;
    msg.msg_iovlen = std::size(parts);
    if (sendmsg(reg.returned_wr, &msg, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0)
        return;
    reg.given_back--;
    OV_LOG_WARN("IPC", "A returned message is dropped: %s", strerror(errno));
}

int wi_ipc_set_buffers(int sock) {
    // The forced form goes beyond the system's limit, if the process may.
    const int size = WI_IPC_SOCKET_BUFFER;
    const std::pair<int, int> options[] = {{SO_RCVBUFFORCE, SO_RCVBUF}, {SO_SNDBUFFORCE, SO_SNDBUF}};
    for (const auto& [forced, plain] : options)
        if (setsockopt(sock, SOL_SOCKET, forced, &size, sizeof(size)) != 0 &&
            setsockopt(sock, SOL_SOCKET, plain, &size, sizeof(size)) != 0)
            return errno;
    return 0;
}
