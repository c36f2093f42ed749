#include "card_socket.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "text.h"

namespace {

constexpr uint32_t TYPE_BASE = 19000;
constexpr size_t BATCH = 64;          // datagrams a system call
constexpr size_t BATCHES = 16;        // system calls before the rest of the program has its turn
constexpr size_t MAX_DATAGRAM = 8192; // longer ones arrive cut, and are too long either way

struct Address {
    sockaddr_un addr{};
    socklen_t len = 0;

    explicit Address(const IpcName& name) {
        addr.sun_family = AF_UNIX;
        const std::string text = name.text();
        std::memcpy(addr.sun_path + 1, text.data(), text.size()); // 20 to 30 characters
        len = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&addr); }
};

// One set of buffers for all receivers: the program has one thread, and a handler copies what it keeps.
struct Buffers {
    std::array<std::array<uint8_t, MAX_DATAGRAM>, BATCH> data;
    std::array<iovec, BATCH> io;
    std::array<mmsghdr, BATCH> messages;

    Buffers() {
        for (size_t i = 0; i < BATCH; ++i) {
            io[i] = {data[i].data(), MAX_DATAGRAM};
            messages[i] = {};
            messages[i].msg_hdr.msg_iov = &io[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
    }
};

Buffers& buffers() {
    static const auto shared = std::make_unique<Buffers>();
    return *shared;
}

} // namespace

std::string IpcName::text() const {
    return format("ov_ipc/%u/%u", service + TYPE_BASE, sub_id);
}

bool IpcReceiver::open(const IpcName& name, Handler handler, std::string& error) {
    close();
    const Address address(name);
    Fd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd || bind(fd.get(), address.get(), address.len) != 0) {
        error = name.text() + ": " + std::strerror(errno);
        return false;
    }
    fd_ = std::move(fd);
    handler_ = std::move(handler);
    loop_.watch(fd_.get(), POLLIN, [this](short) { receive(); });
    return true;
}

void IpcReceiver::stop() {
    if (!fd_)
        return;
    stopped_ = true;
    loop_.set_events(fd_.get(), 0);
}

void IpcReceiver::go_on() {
    if (!fd_)
        return;
    stopped_ = false;
    loop_.set_events(fd_.get(), POLLIN);
}

void IpcReceiver::close() {
    stopped_ = false;
    if (!fd_)
        return;
    loop_.unwatch(fd_.get());
    fd_.reset();
}

void IpcReceiver::receive() {
    Buffers& shared = buffers();
    for (size_t turn = 0; turn < BATCHES && fd_ && !stopped_; ++turn) {
        const int got = recvmmsg(fd_.get(), shared.messages.data(), BATCH, MSG_DONTWAIT, nullptr);
        for (int i = 0; i < got && fd_; ++i) {
            const auto at = static_cast<size_t>(i);
            handler_(std::span<const uint8_t>(shared.data[at]).first(shared.messages[at].msg_len));
        }
        if (got < static_cast<int>(BATCH)) // empty
            return;
    }
}

IpcSender::~IpcSender() {
    for (const auto& [name, peer] : peers_)
        loop_.unwatch(peer.fd.get());
}

size_t IpcSender::waiting() const {
    size_t frames = 0;
    for (const auto& [name, peer] : peers_)
        frames += peer.queue.size();
    return frames;
}

bool IpcSender::connect(const IpcName& to, Peer& peer) {
    if (peer.fd)
        loop_.unwatch(peer.fd.get());
    const Address address(to);
    peer.fd = Fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!peer.fd || ::connect(peer.fd.get(), address.get(), address.len) != 0)
        return false;
    loop_.watch(peer.fd.get(), 0, [this, to](short) { flush(to); });
    return true;
}

// False when nobody has the name. A frame for a full receiver is put on the queue.
bool IpcSender::transmit(const IpcName& to, Peer& peer, const std::vector<uint8_t>& frame) {
    bool fresh = false;
    if (!peer.fd) {
        if (!connect(to, peer))
            return false;
        fresh = true;
    }
    while (::send(peer.fd.get(), frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
        if (errno == EAGAIN || errno == ENOBUFS) {
            peer.queue.push_back(frame);
            loop_.set_events(peer.fd.get(), POLLOUT);
            return true;
        }
        // whoever had the name has gone; perhaps somebody has it again
        if (fresh || !connect(to, peer))
            return false;
        fresh = true;
    }
    return true;
}

bool IpcSender::send(const IpcName& to, std::vector<uint8_t> frame) {
    Peer& peer = peers_[to];
    if (!peer.queue.empty()) {
        peer.queue.push_back(std::move(frame));
        return true;
    }
    if (transmit(to, peer, frame))
        return true;
    ++lost_;
    drop(to);
    return false;
}

void IpcSender::drop(const IpcName& to) {
    const auto it = peers_.find(to);
    lost_ += it->second.queue.size();
    if (it->second.fd)
        loop_.unwatch(it->second.fd.get());
    peers_.erase(it);
}

void IpcSender::flush(const IpcName& to) {
    Peer& peer = peers_.at(to);
    if (peer.queue.empty()) { // woken by an error: the name's owner has gone
        drop(to);
        return;
    }
    auto queue = std::exchange(peer.queue, {});
    while (!queue.empty() && peer.queue.empty()) {
        if (!transmit(to, peer, queue.front())) {
            lost_ += queue.size();
            drop(to);
            return;
        }
        queue.pop_front();
    }
    if (peer.queue.empty()) {
        loop_.set_events(peer.fd.get(), 0);
        return;
    }
    peer.queue.insert(peer.queue.end(), std::make_move_iterator(queue.begin()),
                      std::make_move_iterator(queue.end()));
}
