// The carrier for kernels without TIPC: Unix datagram sockets.
//
// A receive socket is bound to the abstract name "ov_ipc/<type>/<instance>", in decimal and without a
// terminator; the send socket is unbound.
//
// The kernel lets only a few datagrams wait at a Unix socket (net.unix.max_dgram_qlen, 10 by default), where
// TIPC queues hundreds of kilobytes. A send to a full receiver comes back at once, as TIPC brings a message
// of an overloaded receiver back; when there is room again is told by a socket that is connected to the name
// (watch_room). What a receiver that dies leaves unread is lost: the kernel drops it without a word.
#include "wi_ipc.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <unistd.h>

#include <linux/sockios.h>

namespace {

// A multicast asks name by name; a wider range is refused.
constexpr uint32_t MCAST_MAX_RANGE = 4096;

struct Address {
    sockaddr_un name; // filled as far as length tells
    socklen_t length;

    explicit Address(const wi_ipc_name& to) {
        constexpr std::string_view PREFIX = "ov_ipc/";
        char* const limit = std::end(name.sun_path);
        name.sun_family = AF_UNIX;
        name.sun_path[0] = '\0';
        char* end = std::copy(PREFIX.begin(), PREFIX.end(), name.sun_path + 1);
        end = std::to_chars(end, limit, to.type).ptr;
        *end++ = '/';
        end = std::to_chars(end, limit, to.instance).ptr;
        length = socklen_t(end - reinterpret_cast<char*>(&name));
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&name); }
};

bool nobody_there(int error) {
    return error == ECONNREFUSED || error == ENOENT;
}

int send_once(int sock, const Address& to, std::span<const uint8_t> frame) {
    if (frame.size() > WI_IPC_MAX_FRAME)
        return EMSGSIZE;
    ssize_t sent;
    do
        sent = sendto(sock, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL, to.get(), to.length);
    while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

// Of a frame that reached its receiver's node TIPC brings only the start back.
void give_back_for_room(wi_ipc_register_result_st& reg, std::span<const uint8_t> frame) {
    wi_ipc_give_back(reg, frame.first(std::min(frame.size(), WI_IPC_RETURNED_MAX)), WI_IPC_NO_ROOM);
}

class UnixCarrier final : public WiIpcCarrier {
public:
    const char* name() const override { return "unix"; }

    int open_sockets(const wi_ipc_name& own, wi_ipc_register_result_st& reg) const override {
        reg.rcv_sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        reg.snd_sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (reg.rcv_sock < 0 || reg.snd_sock < 0)
            return errno;
        const Address address(own);
        return bind(reg.rcv_sock, address.get(), address.length) == 0 ? 0 : errno;
    }

    int set_options(const wi_ipc_register_result_st& reg) const override {
        const int error = wi_ipc_set_buffers(reg.rcv_sock);
        return error != 0 ? error : wi_ipc_set_buffers(reg.snd_sock);
    }

    int send(wi_ipc_register_result_st& reg, const wi_ipc_name& to,
             std::span<const uint8_t> frame) const override {
        const int error = send_once(reg.snd_sock, Address(to), frame);
        if (error == EAGAIN)
            give_back_for_room(reg, frame);
        else if (nobody_there(error))
            wi_ipc_give_back(reg, frame, WI_IPC_GONE);
        else
            return error;
        return 0;
    }

    int send_mcast(wi_ipc_register_result_st& reg, uint32_t type, uint32_t low, uint32_t high,
                   std::span<const uint8_t> frame) const override {
        if (high < low || high - low >= MCAST_MAX_RANGE)
            return EINVAL;
        bool anybody = false;
        int failed = 0;
        for (uint64_t instance = low; instance <= high; instance++) {
            const int error = send_once(reg.snd_sock, Address({type, uint32_t(instance)}), frame);
            if (error == EAGAIN)
                give_back_for_room(reg, frame);
            else if (error != 0 && !nobody_there(error))
                failed = error;
            anybody = anybody || !nobody_there(error);
        }
        if (!anybody)
            wi_ipc_give_back(reg, frame, WI_IPC_GONE);
        return failed;
    }

    int watch_room(const wi_ipc_name& to) const override {
        const int sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const Address address(to);
        if (sock < 0 || connect(sock, address.get(), address.length) == 0)
            return sock;
        close(sock);
        return -1;
    }

    // Nothing can arrive at an unbound socket.
    wi_ipc_received take_returned(const wi_ipc_register_result_st& /*reg*/,
                                  const wi_ipc_frame_buffer& /*buffer*/, bool /*peek*/) const override {
        return {EAGAIN, 0};
    }

    int queue_depth(const wi_ipc_register_result_st& reg, uint32_t& depth) const override {
        int first_bytes = 0; // of the oldest datagram; the kernel doesn't tell their number
        if (ioctl(reg.rcv_sock, SIOCINQ, &first_bytes) != 0)
            return errno;
        depth = first_bytes > 0 ? 1 : 0;
        return 0;
    }
};

} // namespace

const WiIpcCarrier& wi_ipc_unix_carrier() {
    static const UnixCarrier carrier;
    return carrier;
}
