// Sockets of the named IPC, over the carrier of card_carrier.h.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "event_loop.h"
#include "fd.h"

struct IpcName {
    uint32_t service;
    uint32_t sub_id;

    bool operator<(const IpcName& other) const {
        return std::tie(service, sub_id) < std::tie(other.service, other.sub_id);
    }
    std::string text() const; // "ov_ipc/19101/10101"
};

// A name's receiving end.
class IpcReceiver {
public:
    using Handler = std::function<void(std::span<const uint8_t> frame)>;

    explicit IpcReceiver(EventLoop& loop) : loop_(loop) {}
    IpcReceiver(const IpcReceiver&) = delete;
    IpcReceiver& operator=(const IpcReceiver&) = delete;
    ~IpcReceiver() { close(); }

    // Calls handler for every datagram. The handler may close the receiver. False, with the reason in error.
    bool open(const IpcName& name, Handler handler, std::string& error);
    // What nobody read is lost.
    void close();
    bool is_open() const { return static_cast<bool>(fd_); }
    // Stops reading: what comes then waits at the socket, until that is full and senders are told so. A name
    // that is opened anew is read.
    void stop();
    // Reads again.
    void go_on();
    bool is_stopped() const { return stopped_; }

private:
    void receive();

    EventLoop& loop_;
    Fd fd_;
    Handler handler_;
    bool stopped_ = false;
};

// The sending end: one socket for each name that was sent to. What a full receiver can't take waits here and
// goes out as it reads, in order; a name that nobody has is an error, and what waited for it is dropped. Over
// TIPC a full receiver's messages come back: they go to the front of what waits, and are tried again a moment
// later.
class IpcSender {
public:
    explicit IpcSender(EventLoop& loop) : loop_(loop) {}
    IpcSender(const IpcSender&) = delete;
    IpcSender& operator=(const IpcSender&) = delete;
    ~IpcSender();

    // False when nobody has the name.
    bool send(const IpcName& to, std::vector<uint8_t> frame);
    // Frames that wait.
    size_t waiting() const;
    // Frames that could not be delivered.
    uint64_t lost() const { return lost_; }

private:
    struct Peer {
        Fd fd;
        std::deque<std::vector<uint8_t>> queue;
        EventLoop::TimerId again = 0; // armed while messages that came back wait
    };
    bool connect(const IpcName& to, Peer& peer);
    bool transmit(const IpcName& to, Peer& peer, const std::vector<uint8_t>& frame);
    void flush(const IpcName& to);
    void on_ready(const IpcName& to, short events);
    void collect(Peer& peer);
    void try_again_later(const IpcName& to, Peer& peer);
    void drop(const IpcName& to);

    EventLoop& loop_;
    std::map<IpcName, Peer> peers_;
    uint64_t lost_ = 0;
};
