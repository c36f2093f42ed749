// Frames of the controller's protocol as raw bytes, and a peer that plays the controller.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "umsg.h"

using Bytes = std::vector<uint8_t>;

template <typename Record>
Bytes bytes_of(const Record& record) {
    const auto* first = reinterpret_cast<const uint8_t*>(&record);
    return Bytes(first, first + sizeof(record));
}

// A frame whose header need not tell the truth.
inline Bytes raw_frame(uint8_t version, uint8_t type, uint16_t claimed_len, uint32_t seq, const Bytes& body) {
    const apimsghdr hdr = {
        .version = version, .msgtype = type, .msglen = htons(claimed_len), .msgseq = htonl(seq)};
    Bytes frame = bytes_of(hdr);
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

inline Bytes frame(uint8_t type, uint32_t seq, const Bytes& body) {
    return raw_frame(UMSG_VERSION, type, static_cast<uint16_t>(body.size()), seq, body);
}

inline Bytes reply_body(uint32_t errcode, uint32_t claimed_len, const std::string& data) {
    const umsg_reply_head_t head = {.errcode = errcode, .len = claimed_len};
    Bytes body(sizeof(head) + data.size());
    std::memcpy(body.data(), &head, sizeof(head));
    std::copy(data.begin(), data.end(), body.begin() + sizeof(head));
    return body;
}

inline void write_all(int fd, const Bytes& bytes) {
    ASSERT_EQ(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

// A message as the peer sees it; type -1 when the connection ended first.
struct Received {
    int type = -1;
    int version = 0;
    uint32_t seq = 0;
    Bytes body;

    template <typename Record>
    Record as() const {
        Record record = {};
        EXPECT_EQ(body.size(), sizeof(record));
        std::memcpy(&record, body.data(), std::min(sizeof(record), body.size()));
        return record;
    }
};

inline bool read_exactly(int fd, uint8_t* to, size_t len) {
    return len == 0 || recv(fd, to, len, MSG_WAITALL) == static_cast<ssize_t>(len);
}

inline Received read_frame(int fd) {
    apimsghdr hdr;
    if (!read_exactly(fd, reinterpret_cast<uint8_t*>(&hdr), sizeof(hdr)))
        return {};
    Received got = {.type = hdr.msgtype, .version = hdr.version, .seq = ntohl(hdr.msgseq), .body = {}};
    got.body.resize(ntohs(hdr.msglen));
    return read_exactly(fd, got.body.data(), got.body.size()) ? got : Received{};
}

inline bool has_input(int fd) {
    pollfd p = {.fd = fd, .events = POLLIN, .revents = 0};
    return poll(&p, 1, 0) > 0;
}

// Two connected stream sockets; [0] is the daemon's end.
struct SocketPair {
    SocketPair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fd), 0); }
    ~SocketPair() {
        close_end(0);
        close_end(1);
    }
    void close_end(int end) {
        if (fd[end] >= 0)
            close(fd[end]);
        fd[end] = -1;
    }
    int fd[2];
};

// Plays the controller in a thread of its own; joined at the end of the scope.
class Controller {
public:
    explicit Controller(std::function<void()> act) : thread_(std::move(act)) {}
    ~Controller() { join(); }
    void join() {
        if (thread_.joinable())
            thread_.join();
    }

private:
    std::thread thread_;
};
