// A line card's agent written against the wire alone: raw datagram sockets and bytes, nothing of the daemon's
// libraries. It answers in a thread of its own, as a test tells it to.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include "carrier.h"

namespace wire {

using Bytes = std::vector<uint8_t>;

// Offsets in a datagram.
inline constexpr size_t IPC = 28;          // the IPC header's length
inline constexpr size_t FRAME = IPC;       // the frame's head
inline constexpr size_t NL = IPC + 36;     // the message's head
inline constexpr size_t PAYLOAD = NL + 16; // its payload

inline uint32_t get32(const Bytes& b, size_t at) {
    return at + 4 > b.size()
               ? 0xdeadbeef
               : uint32_t(b[at]) << 24 | uint32_t(b[at + 1]) << 16 | uint32_t(b[at + 2]) << 8 | b[at + 3];
}
inline uint16_t get16(const Bytes& b, size_t at) {
    return at + 2 > b.size() ? 0xdead : uint16_t(b[at] << 8 | b[at + 1]);
}
inline void put32(Bytes& b, size_t at, uint32_t value) {
    if (b.size() < at + 4)
        b.resize(at + 4);
    for (int n = 0; n < 4; n++)
        b[at + size_t(n)] = uint8_t(value >> (24 - 8 * n));
}
inline void put16(Bytes& b, size_t at, uint16_t value) {
    if (b.size() < at + 2)
        b.resize(at + 2);
    b[at] = uint8_t(value >> 8);
    b[at + 1] = uint8_t(value);
}

using Address = carrier::Address;

inline Bytes ipc_header(uint32_t type, uint32_t service, uint32_t sub_id, uint32_t id) {
    Bytes b(IPC);
    const uint32_t words[] = {0xface01bc, 0, type, service, sub_id, id, 1};
    for (size_t n = 0; n < 7; n++)
        put32(b, n * 4, words[n]);
    return b;
}

// A one-way message of a card with truthful lengths.
inline Bytes event(uint32_t slot, uint16_t type, const Bytes& payload) {
    Bytes b = ipc_header(0, 101, 10100 + slot, 77);
    b.resize(PAYLOAD + payload.size());
    put32(b, FRAME, 2);
    put32(b, FRAME + 8, type);
    put32(b, FRAME + 12, 1);
    put32(b, FRAME + 20, uint32_t(b.size() - FRAME));
    put32(b, NL, uint32_t(b.size() - NL));
    put16(b, NL + 4, type);
    std::copy(payload.begin(), payload.end(), b.begin() + PAYLOAD);
    return b;
}

} // namespace wire

class FakeCard {
public:
    using Bytes = wire::Bytes;
    using Behaviour = std::function<void(FakeCard&, const Bytes& request)>;

    // Answers each request with itself, the return code 0.
    static void agree(FakeCard& card, const Bytes& request) { card.reply(request, 0); }
    static void be_silent(FakeCard& /*card*/, const Bytes& /*request*/) {}

    explicit FakeCard(uint32_t slot, Behaviour on_request = agree)
        : slot_(slot), on_request_(std::move(on_request)) {
        fd_ = carrier::open_small_socket();
        const wire::Address name(101, 10100 + slot);
        EXPECT_EQ(bind(fd_, name.get(), name.len), 0) << strerror(errno);
        thread_ = std::thread([this] { serve(); });
    }
    ~FakeCard() {
        stop_ = true;
        thread_.join();
        close(fd_);
    }
    FakeCard(const FakeCard&) = delete;
    FakeCard& operator=(const FakeCard&) = delete;

    uint32_t slot() const { return slot_; }
    void behave(Behaviour on_request) {
        const std::lock_guard lock(mutex_);
        on_request_ = std::move(on_request);
    }
    // All that was sent to it before the call, also when its thread has had no processor yet.
    std::vector<Bytes> seen() const {
        const std::unique_lock lock = caught_up();
        return seen_;
    }
    size_t count() const {
        const std::unique_lock lock = caught_up();
        return seen_.size();
    }
    // Leaves what comes unread, or reads on.
    void stop_reading(bool stop) { stopped_ = stop; }
    // Has as much room as the agents of real cards ask for.
    void widen() const { carrier::widen(fd_); }
    // Takes a moment's rest after each so many messages.
    void rest_after(size_t messages) { rest_after_ = messages; }
    // Waits for so many messages in all, twenty seconds at most.
    std::vector<Bytes> wait_for(size_t count) const {
        for (int n = 0; n < 20000 && this->taken() < count; n++)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return seen();
    }

    // The reply that a well-behaved card gives: the request's frame with a return code.
    Bytes reply_to(const Bytes& request, uint32_t retcode) const {
        Bytes b = wire::ipc_header(2, 101, 10100 + slot_, wire::get32(request, 20));
        b.insert(b.end(), request.begin() + wire::IPC, request.end());
        wire::put32(b, wire::FRAME + 28, retcode);
        return b;
    }
    void reply(const Bytes& request, uint32_t retcode) { answer(request, reply_to(request, retcode)); }
    // Any bytes to whoever sent the request.
    void answer(const Bytes& request, const Bytes& bytes) {
        send_to(wire::get32(request, 12), wire::get32(request, 16), bytes);
    }
    void send_to(uint32_t service, uint32_t sub_id, const Bytes& bytes) {
        const wire::Address to(service, sub_id);
        EXPECT_EQ(sendto(fd_, bytes.data(), bytes.size(), 0, to.get(), to.len), ssize_t(bytes.size()))
            << strerror(errno);
    }

private:
    size_t taken() const {
        const std::lock_guard lock(mutex_);
        return seen_.size();
    }
    bool has_unread() const {
        pollfd p = {.fd = fd_, .events = POLLIN, .revents = 0};
        return !stopped_ && std::this_thread::get_id() != thread_.get_id() && poll(&p, 1, 0) > 0;
    }
    // The lock, once nothing that was sent is unread any more: ten seconds at most, for a card that takes its
    // time.
    std::unique_lock<std::mutex> caught_up() const {
        std::unique_lock lock(mutex_);
        for (int n = 0; n < 10000 && has_unread(); n++) {
            lock.unlock();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            lock.lock();
        }
        return lock;
    }
    // The next message, kept among those seen in the same step; empty if there is none.
    Bytes take() {
        Bytes request(4096);
        const std::lock_guard lock(mutex_);
        const ssize_t got = stopped_ ? -1 : recv(fd_, request.data(), request.size(), MSG_DONTWAIT);
        if (got < 0)
            return {};
        request.resize(size_t(got));
        seen_.push_back(request);
        return request;
    }
    // How it acts on the message just taken, and whether it rests before.
    std::pair<Behaviour, bool> next_act() const {
        const std::lock_guard lock(mutex_);
        return {on_request_, rest_after_ != 0 && seen_.size() % rest_after_ == 0};
    }
    void serve() {
        // A card is on a board of its own: it doesn't interrupt the sender for each message.
        const sched_param none = {};
        sched_setscheduler(0, SCHED_BATCH, &none);
        while (!stop_) {
            pollfd p = {.fd = fd_, .events = short(stopped_ ? 0 : POLLIN), .revents = 0};
            if (poll(&p, 1, stopped_ ? 1 : 10) <= 0)
                continue;
            const Bytes request = take();
            if (request.empty())
                continue;
            const auto [act, rest] = next_act();
            if (rest)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            if (request.size() >= wire::PAYLOAD && wire::get32(request, 8) == 1)
                act(*this, request);
        }
    }

    uint32_t slot_;
    mutable std::mutex mutex_;
    Behaviour on_request_;
    std::vector<Bytes> seen_;
    int fd_ = -1;
    std::atomic<bool> stop_ = false;
    std::atomic<bool> stopped_ = false;
    std::atomic<size_t> rest_after_ = 0;
    std::thread thread_;
};
