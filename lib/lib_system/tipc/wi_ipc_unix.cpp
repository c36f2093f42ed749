// The carrier for kernels without TIPC: Unix datagram sockets.
//
// A receive socket is bound to the abstract name "ov_ipc/<type>/<instance>", in decimal and without a
// terminator; the send socket is unbound.
//
// Flow control: the kernel lets only a few datagrams wait at a Unix socket (net.unix.max_dgram_qlen, 10 by
// default), where TIPC queues hundreds of kilobytes. So a send to a full receiver waits for it, up to
// SEND_WAIT, before it reports EAGAIN. A receiver that let it wait in vain isn't waited for again until a
// send gets through: a dead agent costs one wait, not one for each message.
#include "wi_ipc.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <linux/sockios.h>

namespace {

constexpr timeval SEND_WAIT = {1, 0};
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

int send_once(int sock, const Address& to, std::span<const uint8_t> frame, int flags) {
    ssize_t sent;
    do
        sent = sendto(sock, frame.data(), frame.size(), flags | MSG_NOSIGNAL, to.get(), to.length);
    while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

int send_with_flow_control(wi_ipc_register_result_st& reg, const wi_ipc_name& to,
                           std::span<const uint8_t> frame) {
    if (frame.size() > WI_IPC_MAX_FRAME)
        return EMSGSIZE;
    std::atomic<uint64_t>& stalled = reg.stalled[to.instance % reg.stalled.size()];
    const uint64_t key = uint64_t(to.type) << 32 | to.instance;
    const bool was_stalled = stalled.load(std::memory_order_relaxed) == key;
    const int error = send_once(reg.snd_sock, Address(to), frame, was_stalled ? MSG_DONTWAIT : 0);
    if (error == EAGAIN)
        stalled.store(key, std::memory_order_relaxed);
    else if (was_stalled)
        stalled.store(0, std::memory_order_relaxed);
    return error;
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
        if (setsockopt(reg.snd_sock, SOL_SOCKET, SO_SNDTIMEO, &SEND_WAIT, sizeof(SEND_WAIT)) != 0)
            return errno;
        const int error = wi_ipc_set_buffers(reg.rcv_sock);
        return error != 0 ? error : wi_ipc_set_buffers(reg.snd_sock);
    }

    int send(wi_ipc_register_result_st& reg, const wi_ipc_name& to,
             std::span<const uint8_t> frame) const override {
        const int error = send_with_flow_control(reg, to, frame);
        if (!nobody_there(error))
            return error;
        wi_ipc_give_back(reg, frame);
        return 0;
    }

    // As TIPC does, it comes back only when nobody got it.
    int send_mcast(wi_ipc_register_result_st& reg, uint32_t type, uint32_t low, uint32_t high,
                   std::span<const uint8_t> frame) const override {
        if (high < low || high - low >= MCAST_MAX_RANGE)
            return EINVAL;
        bool delivered = false;
        int failed = 0;
        for (uint64_t instance = low; instance <= high; instance++) {
            const int error = send_with_flow_control(reg, {type, uint32_t(instance)}, frame);
            if (error == 0)
                delivered = true;
            else if (!nobody_there(error))
                failed = error;
        }
        if (!delivered && failed == 0)
            wi_ipc_give_back(reg, frame);
        return failed;
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
