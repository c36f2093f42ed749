// A test body with a network of its own, the carrier of carrier.h, and peers that know only the bytes.
#pragma once

#include "../support/carrier.h"
#include "../support/log_capture.h"
#include "../support/private_net.h"

#include "ipcImpl.h"
#include "ipc_app_cb.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/time.h>

using Bytes = std::vector<uint8_t>;

inline void in_private_network(const std::function<void()>& body) {
    private_net::run([&] {
        const ScopedEnv chosen("OV_IPC_CARRIER", carrier::name());
        body();
    });
}

inline uint32_t word(const Bytes& bytes, size_t at) {
    return uint32_t(bytes.at(at)) << 24 | uint32_t(bytes.at(at + 1)) << 16 | uint32_t(bytes.at(at + 2)) << 8 |
           bytes.at(at + 3);
}

inline void put_word(Bytes& bytes, size_t at, uint32_t value) {
    for (size_t i = 0; i < 4; i++)
        bytes.at(at + i) = uint8_t(value >> (24 - 8 * i));
}

// A frame as it stands on the wire.
inline Bytes frame(uint32_t type, uint32_t id, const Bytes& msg, uint32_t serv = 101, uint32_t sub = 10103) {
    Bytes bytes(28);
    put_word(bytes, 0, 0xface01bc);
    put_word(bytes, 8, type);
    put_word(bytes, 12, serv);
    put_word(bytes, 16, sub);
    put_word(bytes, 20, id);
    bytes.insert(bytes.end(), msg.begin(), msg.end());
    return bytes;
}

// A card agent made of a plain socket.
class Peer {
public:
    explicit Peer(uint32_t serv, uint32_t sub) : sock_(carrier::open_small_socket()) {
        const carrier::Address name(serv, sub);
        EXPECT_EQ(bind(sock_, name.get(), name.len), 0);
        const timeval limit = {30, 0};
        setsockopt(sock_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    }
    ~Peer() { close(sock_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // The next frame; empty when none comes.
    Bytes receive() const {
        Bytes bytes(70000);
        const ssize_t length = recv(sock_, bytes.data(), bytes.size(), 0);
        bytes.resize(length < 0 ? 0 : size_t(length));
        return bytes;
    }
    void widen() const { carrier::widen(sock_); }
    bool waiting() const {
        uint8_t byte = 0;
        return recv(sock_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0;
    }
    void send(uint32_t serv, uint32_t sub, const Bytes& bytes) const {
        EXPECT_EQ(send_to(serv, sub, bytes, 0), ssize_t(bytes.size()));
    }
    // The same to a receiver that may not keep up.
    void throw_at(uint32_t serv, uint32_t sub, const Bytes& bytes) const {
        send_to(serv, sub, bytes, MSG_DONTWAIT);
    }
    // Answers a request under the name in its header.
    void reply(const Bytes& request, const Bytes& msg) const {
        send(word(request, 12), word(request, 16), frame(IPC_REPLY, word(request, 20), msg));
    }

private:
    ssize_t send_to(uint32_t serv, uint32_t sub, const Bytes& bytes, int flags) const {
        const carrier::Address to(serv, sub);
        return sendto(sock_, bytes.data(), bytes.size(), flags, to.get(), to.len);
    }
    int sock_;
};

// A send buffer with the header's place in front.
class SendBuffer {
public:
    explicit SendBuffer(const Bytes& msg) : bytes_(IPC_HDR_SIZE + msg.size()) {
        std::copy(msg.begin(), msg.end(), bytes_.begin() + IPC_HDR_SIZE);
    }
    explicit SendBuffer(const char* text) : SendBuffer(Bytes(text, text + strlen(text))) {}
    void* msg() { return bytes_.data() + IPC_HDR_SIZE; }
    int size() const { return int(bytes_.size()) - IPC_HDR_SIZE; }

private:
    Bytes bytes_;
};

inline Bytes bytes_of(const char* text) {
    return Bytes(text, text + strlen(text));
}

inline int registered(uint32_t serv, uint32_t sub) {
    int handle = -1;
    EXPECT_EQ(ipcRegisterService(serv, sub, 0, &handle), IPC_RC_SUCCESS);
    return handle;
}

// Puts an own message of another id at the handle's send side, as when a peer died with it unread.
inline void give_back(int handle, uint32_t id, uint32_t type = IPC_REQUEST) {
    IPC_service_reg_st& reg = IPC_service_reg_data.at(size_t(handle));
    wi_ipc_give_back(reg.sockets, frame(type, id, bytes_of("old"), reg.serv_id, reg.sub_id));
}

inline bool has_line(const std::vector<std::string>& lines, const std::string& part) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(part) != std::string::npos; });
}

struct Message {
    int rc;
    ipc_header hdr;
    Bytes bytes;
    int returned;
};
inline Message receive_on(int handle, int timeout = 1) {
    Message got = {0, {}, Bytes(IPC_MAX_MSG_SIZE), -1};
    got.rc = ipcReceive(handle, &got.hdr, got.bytes.data(), IPC_MAX_MSG_SIZE, &got.returned, timeout);
    got.bytes.resize(size_t(std::clamp(got.rc, 0, IPC_MAX_MSG_SIZE)));
    return got;
}
