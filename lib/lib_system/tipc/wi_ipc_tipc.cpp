// The carrier of the product: TIPC names over connectionless reliable sockets.
#include "wi_ipc_tipc.h"

#include "wi_ipc.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <linux/tipc.h>
#include <sys/uio.h>
#include <unistd.h>

static_assert(WI_IPC_MAX_FRAME == TIPC_MAX_USER_MSG_SIZE);
static_assert(AF_TIPC == 30);

namespace {

constexpr int INTERNAL_IMPORTANCE = TIPC_MEDIUM_IMPORTANCE; // 1

template <typename T>
int set_tipc_option(int sock, int option, T value) {
    return setsockopt(sock, SOL_TIPC, option, &value, sizeof(value)) == 0 ? 0 : errno;
}

int wi_set_internal_importance(int sock) {
    return set_tipc_option(sock, TIPC_IMPORTANCE, uint32_t(INTERNAL_IMPORTANCE));
}

// 0: a message that can't be delivered comes back instead of being dropped.
int wi_set_dest_droppable(int sock, uint32_t droppable) {
    return set_tipc_option(sock, TIPC_DEST_DROPPABLE, droppable);
}

sockaddr_tipc service_address(const wi_ipc_name& name) {
    sockaddr_tipc address = {};
    address.family = AF_TIPC;
    address.addrtype = TIPC_ADDR_NAME;
    address.scope = TIPC_CLUSTER_SCOPE;
    address.addr.name.name.type = name.type;
    address.addr.name.name.instance = name.instance;
    return address;
}

sockaddr_tipc range_address(uint32_t type, uint32_t low, uint32_t high) {
    sockaddr_tipc address = {};
    address.family = AF_TIPC;
    address.addrtype = TIPC_ADDR_MCAST;
    address.scope = TIPC_CLUSTER_SCOPE;
    address.addr.nameseq = {type, low, high};
    return address;
}

int send_to(wi_ipc_register_result_st& reg, const sockaddr_tipc& to, std::span<const uint8_t> frame) {
    ssize_t sent;
    do
        sent = sendto(reg.snd_sock, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                      reinterpret_cast<const sockaddr*>(&to), sizeof(to));
    while (sent < 0 && errno == EINTR);
    if (sent >= 0)
        return 0;
    // A name that no node has is refused on the spot instead of coming back.
    if (errno != EHOSTUNREACH)
        return errno;
    wi_ipc_give_back(reg, frame, WI_IPC_GONE);
    return 0;
}

// Copies a frame that came back to where a received one goes.
wi_ipc_received deliver(const wi_ipc_tipc_return& returned, const wi_ipc_frame_buffer& buffer) {
    const std::span<const uint8_t> frame = returned.frame;
    const size_t head = std::min(frame.size(), buffer.header.size());
    std::copy_n(frame.begin(), head, buffer.header.begin());
    const auto rest = frame.subspan(head);
    std::copy_n(rest.begin(), std::min(rest.size(), buffer.message.size()), buffer.message.begin());
    const size_t room = buffer.header.size() + buffer.message.size();
    return {0, std::min(frame.size(), room + 1), returned.why};
}

// The error stands in front of the length of what came back.
wi_ipc_why why_of(std::span<const uint8_t> error_info) {
    uint32_t error = TIPC_OK;
    if (error_info.size() >= sizeof(error))
        std::memcpy(&error, error_info.data(), sizeof(error));
    return error == TIPC_ERR_OVERLOAD ? WI_IPC_NO_ROOM : WI_IPC_GONE;
}

class TipcCarrier final : public WiIpcCarrier {
public:
    const char* name() const override { return "tipc"; }

    int open_sockets(const wi_ipc_name& own, wi_ipc_register_result_st& reg) const override {
        reg.rcv_sock = socket(AF_TIPC, SOCK_RDM | SOCK_CLOEXEC, 0);
        reg.snd_sock = socket(AF_TIPC, SOCK_RDM | SOCK_CLOEXEC, 0);
        if (reg.rcv_sock < 0 || reg.snd_sock < 0)
            return errno;
        const sockaddr_tipc address = service_address(own);
        return bind(reg.rcv_sock, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ? 0
                                                                                                     : errno;
    }

    int set_options(const wi_ipc_register_result_st& reg) const override {
        for (const int sock : {reg.rcv_sock, reg.snd_sock}) {
            int error = wi_set_internal_importance(sock);
            if (error == 0)
                error = wi_ipc_set_buffers(sock);
            if (error == 0)
                error = wi_set_dest_droppable(sock, 0);
            if (error != 0)
                return error;
        }
        return 0;
    }

    int send(wi_ipc_register_result_st& reg, const wi_ipc_name& to,
             std::span<const uint8_t> frame) const override {
        return send_to(reg, service_address(to), frame);
    }

    int send_mcast(wi_ipc_register_result_st& reg, uint32_t type, uint32_t low, uint32_t high,
                   std::span<const uint8_t> frame) const override {
        return high < low ? EINVAL : send_to(reg, range_address(type, low, high), frame);
    }

    wi_ipc_received take_returned(const wi_ipc_register_result_st& reg, const wi_ipc_frame_buffer& buffer,
                                  bool peek) const override {
        std::array<uint8_t, WI_IPC_RETURNED_MAX> body;
        alignas(cmsghdr) std::array<char, 2 * WI_IPC_RETURNED_MAX> control;
        iovec part = {body.data(), body.size()};
        msghdr msg = {};
        msg.msg_iov = &part;
        msg.msg_iovlen = 1;
        msg.msg_control = control.data();
        msg.msg_controllen = control.size();
        ssize_t length;
        do
            length = recvmsg(reg.snd_sock, &msg, MSG_DONTWAIT | (peek ? MSG_PEEK : 0));
        while (length < 0 && errno == EINTR);
        if (length < 0)
            return {errno, 0};
        const auto returned = wi_ipc_tipc_returned(msg, std::span(body.data(), size_t(length)));
        if (returned)
            return deliver(*returned, buffer);
        // The send socket has no name, so this is no message of a peer. Away with it.
        if (peek)
            recvmsg(reg.snd_sock, &msg, MSG_DONTWAIT);
        return {EAGAIN, 0};
    }

    // The receiver's room is on another node, perhaps; only a message that doesn't come back tells.
    int watch_room(const wi_ipc_name& /*to*/) const override { return -1; }

    int queue_depth(const wi_ipc_register_result_st& reg, uint32_t& depth) const override {
        socklen_t size = sizeof(depth);
        return getsockopt(reg.rcv_sock, SOL_TIPC, TIPC_SOCK_RECVQ_DEPTH, &depth, &size) == 0 ? 0 : errno;
    }
};

} // namespace

std::optional<wi_ipc_tipc_return> wi_ipc_tipc_returned(const msghdr& received,
                                                       std::span<const uint8_t> body) {
    bool returned = false;
    wi_ipc_tipc_return found = {body, WI_IPC_GONE};
    msghdr msg = received; // CMSG_NXTHDR wants it writable
    for (cmsghdr* item = CMSG_FIRSTHDR(&msg); item != nullptr; item = CMSG_NXTHDR(&msg, item)) {
        const auto* end = static_cast<const uint8_t*>(msg.msg_control) + msg.msg_controllen;
        const uint8_t* value = CMSG_DATA(item);
        if (item->cmsg_len < CMSG_LEN(0) || value > end || item->cmsg_len - CMSG_LEN(0) > size_t(end - value))
            break;
        if (item->cmsg_level != SOL_TIPC)
            continue;
        const std::span data(value, item->cmsg_len - CMSG_LEN(0));
        if (item->cmsg_type == TIPC_ERRINFO) {
            returned = true;
            found.why = why_of(data);
        } else if (item->cmsg_type == TIPC_RETDATA) {
            found.frame = data;
        }
    }
    if (!returned)
        return std::nullopt;
    return found;
}

bool wi_ipc_have_tipc() {
    const int probe = socket(AF_TIPC, SOCK_RDM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return false;
    close(probe);
    return true;
}

const WiIpcCarrier& wi_ipc_tipc_carrier() {
    static const TipcCarrier carrier;
    return carrier;
}
