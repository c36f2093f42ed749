// A master agent of the tests: it listens, and says what the test tells it to (RFC 2741).
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "agentx_link.h"

namespace played {

enum : uint8_t {
    OPEN = 1,
    REGISTER = 3,
    GET = 5,
    TEST_SET = 8,
    COMMIT_SET = 9,
    UNDO_SET = 10,
    CLEANUP_SET = 11,
    NOTIFY = 12
};
enum : uint8_t { PING = 13, RESPONSE = 18 };

inline std::string pdu(uint8_t type, uint32_t packet, const std::string& payload = "") {
    std::string pdu = {1, char(type), 0x10, 0, 0, 0, 0, 7, 0, 0, 0, 55};
    for (const uint32_t word : {packet, uint32_t(payload.size())})
        for (const int shift : {24, 16, 8, 0})
            pdu += char(word >> shift);
    return pdu + payload;
}

inline std::string response(uint32_t packet, uint16_t error = 0) {
    std::string payload(8, '\0');
    payload[4] = char(error >> 8);
    payload[5] = char(error);
    return pdu(RESPONSE, packet, payload);
}

struct Heard {
    uint8_t type = 0; // 0: the connection has ended
    uint32_t packet = 0;
    std::string bytes;
};

class Master {
public:
    // Takes `queue` + 1 connections before the first accept().
    explicit Master(int queue = 5, const std::string& path = AGENTX_MASTER_SOCKET) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
        listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        listen_at(reinterpret_cast<const sockaddr*>(&address), sizeof address, queue);
    }
    // On TCP, on a free port of this machine.
    explicit Master(const sockaddr_in& address) {
        listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        listen_at(reinterpret_cast<const sockaddr*>(&address), sizeof address, 5);
    }
    ~Master() {
        leave();
        close(listener_);
    }
    Master(const Master&) = delete;
    Master& operator=(const Master&) = delete;

    int listener() const { return listener_; }
    int fd() const { return fd_; }
    uint16_t port() const {
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }

    // In place of the connection that there was.
    void accept() {
        leave();
        fd_ = ::accept(listener_, nullptr, nullptr);
    }
    void leave() {
        if (fd_ >= 0)
            close(std::exchange(fd_, -1));
    }
    void send(const std::string& bytes) const { EXPECT_TRUE(try_to_send(bytes)); }
    // False if the daemon has left.
    bool try_to_send(const std::string& bytes) const {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == ssize_t(bytes.size());
    }
    // Waits for the next PDU, of either byte order.
    Heard hear() const {
        Heard heard;
        const std::string header = read(20);
        if (header.size() < 20)
            return heard;
        heard.packet = word(header, 12);
        heard.bytes = header + read(word(header, 16));
        heard.type = uint8_t(header[1]);
        return heard;
    }
    // Takes a connection and opens its session.
    void open_session() {
        accept();
        const Heard open = hear();
        EXPECT_EQ(open.type, OPEN);
        send(response(open.packet));
    }

private:
    void listen_at(const sockaddr* address, socklen_t length, int queue) const {
        EXPECT_EQ(bind(listener_, address, length), 0);
        EXPECT_EQ(listen(listener_, queue), 0);
    }
    std::string read(size_t size) const {
        std::string bytes(size, '\0');
        const ssize_t got = size == 0 ? 0 : recv(fd_, bytes.data(), size, MSG_WAITALL);
        bytes.resize(got > 0 ? size_t(got) : 0);
        return bytes;
    }
    static uint32_t word(const std::string& header, size_t at) {
        const bool is_network_order = (header[2] & 0x10) != 0;
        uint32_t value = 0;
        for (size_t i = 0; i < 4; i++)
            value = value << 8 | uint8_t(header[is_network_order ? at + i : at + 3 - i]);
        return value;
    }

    int listener_ = -1;
    int fd_ = -1;
};

} // namespace played
