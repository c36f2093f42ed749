// The carrier of the named IPC on the cards' side: Unix datagrams between abstract names
// "ov_ipc/<service + 19000>/<sub id>", or the kernel's TIPC, whose names are the same numbers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <linux/tipc.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "fd.h"

enum class CardCarrier { UNIX, TIPC };

// For the whole program, before any card comes. The beginning is OV_IPC_CARRIER, as the daemon has it, or
// Unix. False for a name that is no carrier's ("unix", "tipc").
bool choose_card_carrier(const std::string& name);
CardCarrier card_carrier();

class CardAddress {
public:
    CardAddress(uint32_t type, uint32_t instance);
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&any_); }
    socklen_t length() const { return length_; }

private:
    union {
        sockaddr_un unix_;
        sockaddr_tipc tipc_;
        sockaddr_storage any_ = {};
    };
    socklen_t length_;
};

// A datagram socket that doesn't wait. What it sends and can't be delivered comes back (TIPC).
Fd open_card_socket();

// A message that came back to a socket.
struct CameBack {
    bool no_room; // its receiver is there and may read on
    bool whole;   // TIPC gives no more than 1024 bytes back
    std::vector<uint8_t> frame;
};
// The next one at a TIPC socket; false when none waits.
bool take_back(int sock, CameBack& message);
