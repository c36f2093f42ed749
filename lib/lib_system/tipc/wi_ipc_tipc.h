// The form in which TIPC gives a message back, apart from its sockets.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include <sys/socket.h>

#include "wi_ipc.h"

struct wi_ipc_tipc_return {
    std::span<const uint8_t> frame; // its first 1024 bytes, TIPC returns no more
    wi_ipc_why why;
};

// The returned message in what recvmsg gave: one whose ancillary data hold an error (TIPC_ERRINFO) is a
// returned one, and its bytes are the TIPC_RETDATA beside it, or, where there are none, the body. Nothing for
// an ordinary message or ancillary data that are cut off.
std::optional<wi_ipc_tipc_return> wi_ipc_tipc_returned(const msghdr& received, std::span<const uint8_t> body);
