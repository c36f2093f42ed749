// Unix-socket addresses, and taking over a path that a dead program left.
#pragma once

#include <string>
#include <sys/un.h>

#include "fd.h"

// False when the path doesn't fit into an address.
bool unix_address(const std::string& path, sockaddr_un& addr);

// Binds a new socket (SOCK_STREAM or SOCK_DGRAM, non-blocking) to path. A socket there that nobody serves is
// removed first; one that is alive, and anything else than a socket, is an error. Empty, with the reason in
// error, on failure.
Fd bind_unix_socket(const std::string& path, int type, std::string& error);
