#include "card_carrier.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "text.h"

namespace {

constexpr size_t RETURNED_MAX = 1024;
constexpr int RECEIVE_BUFFER = 0xa0000; // as the cards' own agents have it

std::optional<CardCarrier> carrier_of(const std::string& name) {
    if (name == "unix")
        return CardCarrier::UNIX;
    if (name == "tipc")
        return CardCarrier::TIPC;
    return std::nullopt;
}

CardCarrier& chosen() {
    static CardCarrier carrier = [] {
        const char* name = std::getenv("OV_IPC_CARRIER");
        return carrier_of(name ? name : "").value_or(CardCarrier::UNIX);
    }();
    return carrier;
}

void set_tipc_options(int fd) {
    const uint32_t medium = TIPC_MEDIUM_IMPORTANCE;
    const uint32_t droppable = 0;
    setsockopt(fd, SOL_TIPC, TIPC_IMPORTANCE, &medium, sizeof medium);
    setsockopt(fd, SOL_TIPC, TIPC_DEST_DROPPABLE, &droppable, sizeof droppable);
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &RECEIVE_BUFFER, sizeof RECEIVE_BUFFER);
}

// What the ancillary data say of a message; false for one that didn't come back.
bool read_return(msghdr& msg, CameBack& message) {
    bool returned = false;
    for (cmsghdr* item = CMSG_FIRSTHDR(&msg); item; item = CMSG_NXTHDR(&msg, item)) {
        const unsigned char* data = CMSG_DATA(item);
        const size_t size = item->cmsg_len - CMSG_LEN(0);
        if (item->cmsg_level != SOL_TIPC)
            continue;
        if (item->cmsg_type == TIPC_ERRINFO) {
            uint32_t error = TIPC_OK;
            std::memcpy(&error, data, sizeof error);
            message.no_room = error == TIPC_ERR_OVERLOAD;
            returned = true;
        } else if (item->cmsg_type == TIPC_RETDATA) {
            message.frame.assign(data, data + size);
            message.whole = size < RETURNED_MAX;
        }
    }
    return returned;
}

} // namespace

bool choose_card_carrier(const std::string& name) {
    const auto carrier = carrier_of(name);
    if (carrier)
        chosen() = *carrier;
    return carrier.has_value();
}

CardCarrier card_carrier() {
    return chosen();
}

CardAddress::CardAddress(uint32_t type, uint32_t instance) {
    if (card_carrier() == CardCarrier::TIPC) {
        tipc_.family = AF_TIPC;
        tipc_.addrtype = TIPC_SERVICE_ADDR;
        tipc_.scope = TIPC_CLUSTER_SCOPE;
        tipc_.addr.name.name = {type, instance};
        length_ = sizeof tipc_;
        return;
    }
    unix_.sun_family = AF_UNIX;
    const std::string text = format("ov_ipc/%u/%u", type, instance);
    std::memcpy(unix_.sun_path + 1, text.data(), text.size()); // 20 to 30 characters
    length_ = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
}

Fd open_card_socket() {
    const bool tipc = card_carrier() == CardCarrier::TIPC;
    Fd fd(socket(tipc ? AF_TIPC : AF_UNIX, (tipc ? SOCK_RDM : SOCK_DGRAM) | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (fd && tipc)
        set_tipc_options(fd.get());
    return fd;
}

bool take_back(int sock, CameBack& message) {
    std::array<uint8_t, RETURNED_MAX> body;
    alignas(cmsghdr) std::array<char, 2 * RETURNED_MAX> control;
    for (;;) {
        iovec part = {body.data(), body.size()};
        msghdr msg = {};
        msg.msg_iov = &part;
        msg.msg_iovlen = 1;
        msg.msg_control = control.data();
        msg.msg_controllen = control.size();
        message = {};
        if (recvmsg(sock, &msg, MSG_DONTWAIT) < 0)
            return false;
        if (read_return(msg, message))
            return true;
    }
}
