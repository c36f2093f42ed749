// The carrier of the named IPC that a test's own peers use: Unix datagrams; or, where GPON_TEST_CARRIER is
// "tipc", the kernel's TIPC (./test --vm).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <linux/tipc.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace carrier {

inline bool is_tipc() {
    const char* chosen = getenv("GPON_TEST_CARRIER"); // NOLINT(concurrency-mt-unsafe)
    return chosen != nullptr && std::string_view(chosen) == "tipc";
}

// For OV_IPC_CARRIER.
inline const char* name() {
    return is_tipc() ? "tipc" : "unix";
}

inline int open_socket() {
    return is_tipc() ? socket(AF_TIPC, SOCK_RDM | SOCK_CLOEXEC, 0)
                     : socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

// A socket whose receiver has room for some tens of messages, as those of Unix have: TIPC's own takes
// thousands.
inline int open_small_socket() {
    const int sock = open_socket();
    const int size = 0x4000;
    if (is_tipc())
        setsockopt(sock, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
    return sock;
}

// Makes room for the longest frame.
inline void widen(int sock) {
    const int size = 0xa0000;
    setsockopt(sock, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
}

// The address of a name.
class Address {
public:
    Address(uint32_t service, uint32_t sub_id) {
        if (is_tipc()) {
            tipc_.family = AF_TIPC;
            tipc_.addrtype = TIPC_SERVICE_ADDR;
            tipc_.scope = TIPC_CLUSTER_SCOPE;
            tipc_.addr.name.name = {service + 19000, sub_id};
            len = sizeof(tipc_);
            return;
        }
        const std::string text = "ov_ipc/" + std::to_string(service + 19000) + "/" + std::to_string(sub_id);
        unix_.sun_family = AF_UNIX;
        std::memcpy(unix_.sun_path + 1, text.data(), text.size());
        len = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + text.size());
    }
    const sockaddr* get() const {
        return tipc_.family == AF_TIPC ? reinterpret_cast<const sockaddr*>(&tipc_)
                                       : reinterpret_cast<const sockaddr*>(&unix_);
    }

    socklen_t len = 0;

private:
    sockaddr_un unix_ = {};
    sockaddr_tipc tipc_ = {};
};

} // namespace carrier

// Where TIPC differs and has its own test, or the test is about the other carrier.
#define SKIP_ON_TIPC(why)                                                                                    \
    if (carrier::is_tipc())                                                                                  \
    GTEST_SKIP() << (why)
