// The form in which TIPC gives a message back, apart from its sockets.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include <sys/socket.h>

// The returned message in what recvmsg gave: one whose ancillary data hold an error (TIPC_ERRINFO) is a
// returned one, and its bytes are the TIPC_RETDATA beside it (TIPC returns the first 1024), or, where there
// are none, the body. Nothing for an ordinary message or ancillary data that are cut off.
std::optional<std::span<const uint8_t>> wi_ipc_tipc_returned(const msghdr& received,
                                                             std::span<const uint8_t> body);
