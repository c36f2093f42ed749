#include "card_socket.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <poll.h>
#include <sys/socket.h>

#include "card_carrier.h"
#include "text.h"

namespace {

constexpr uint32_t TYPE_BASE = 19000;
constexpr size_t BATCH = 64;          // datagrams a system call
constexpr size_t BATCHES = 16;        // system calls before the rest of the program has its turn
constexpr size_t MAX_DATAGRAM = 8192; // longer ones arrive cut, and are too long either way

constexpr std::chrono::milliseconds PAUSE{2}; // before messages that came back are tried again

CardAddress address_of(const IpcName& name) {
    return {name.service + TYPE_BASE, name.sub_id};
}

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

// A socket that has nothing to send tells of its peer's end (Unix) or of messages that come back (TIPC).
short idle_events() {
    return card_carrier() == CardCarrier::TIPC ? POLLIN : 0;
}

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
    const CardAddress address = address_of(name);
    Fd fd = open_card_socket();
    if (!fd || bind(fd.get(), address.get(), address.length()) != 0) {
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
    for (const auto& [name, peer] : peers_) {
        loop_.unwatch(peer.fd.get());
        loop_.cancel(peer.again);
    }
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
    const CardAddress address = address_of(to);
    peer.fd = open_card_socket();
    if (!peer.fd || ::connect(peer.fd.get(), address.get(), address.length()) != 0)
        return false;
    loop_.watch(peer.fd.get(), idle_events(), [this, to](short events) { on_ready(to, events); });
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
            loop_.set_events(peer.fd.get(), static_cast<short>(idle_events() | POLLOUT));
            return true;
        }
        // whoever had the name has gone; perhaps somebody has it again
        if (fresh || !connect(to, peer))
            return false;
        fresh = true;
    }
    collect(peer);
    try_again_later(to, peer);
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
    loop_.cancel(it->second.again);
    peers_.erase(it);
}

// Takes what came back, the oldest first, to the front.
void IpcSender::collect(Peer& peer) {
    if (card_carrier() != CardCarrier::TIPC || !peer.fd)
        return;
    std::deque<std::vector<uint8_t>> back;
    for (CameBack message; take_back(peer.fd.get(), message);) {
        if (message.no_room && message.whole)
            back.push_back(std::move(message.frame));
        else
            ++lost_;
    }
    peer.queue.insert(peer.queue.begin(), std::make_move_iterator(back.begin()),
                      std::make_move_iterator(back.end()));
}

void IpcSender::try_again_later(const IpcName& to, Peer& peer) {
    if (card_carrier() != CardCarrier::TIPC || peer.queue.empty() || peer.again != 0)
        return;
    peer.again = loop_.after(PAUSE, [this, to] {
        Peer& waiting = peers_.at(to);
        waiting.again = 0;
        collect(waiting);
        if (!waiting.queue.empty())
            flush(to);
    });
}

void IpcSender::on_ready(const IpcName& to, short events) {
    if (card_carrier() == CardCarrier::TIPC && (events & POLLOUT) == 0) {
        Peer& peer = peers_.at(to);
        collect(peer);
        try_again_later(to, peer);
        return;
    }
    flush(to);
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
        loop_.set_events(peer.fd.get(), idle_events());
        return;
    }
    peer.queue.insert(peer.queue.end(), std::make_move_iterator(queue.begin()),
                      std::make_move_iterator(queue.end()));
}
