#include "vty_client.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// Three NULs and the result.
constexpr size_t trailer_size = 4;

[[noreturn]] void fail(const std::string& what) {
    throw vty_client_error(what + ": " + strerror(errno));
}

} // namespace

vty_client::vty_client(const std::string& path) : fd(-1) {
    struct sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path))
        throw vty_client_error("\"" + path + "\" can't be the path of a socket");
    memcpy(address.sun_path, path.c_str(), path.size() + 1);

    fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        fail("no socket");
    if (connect(fd, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) == 0)
        return;
    const int error = errno;
    close(fd);
    errno = error;
    fail("the daemon can't be reached at " + path);
}

vty_client::~vty_client() {
    close(fd);
}

void vty_client::send_all(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            fail("the daemon went away");
        if (sent > 0)
            bytes.remove_prefix(static_cast<size_t>(sent));
    }
}

/// Cut one complete answer off what was received, if there is one. Text holds no NUL, so the first
/// one begins the trailer, wherever the chunks were cut.
bool vty_client::take_reply(vty_reply_t& reply) {
    const auto end = received.find('\0');
    if (end == received.npos || received.size() < end + trailer_size)
        return false;
    if (received[end + 1] != '\0' || received[end + 2] != '\0')
        throw vty_client_error("the daemon's answer makes no sense");

    reply.text = received.substr(0, end);
    reply.result = static_cast<unsigned char>(received[end + 3]);
    received.erase(0, end + trailer_size);
    return true;
}

vty_reply_t vty_client::run(std::string_view line) {
    if (line.size() > max_line)
        return {"% Command is too long.\n", 1};
    if (line.find('\0') != line.npos)
        return {"% Command has a NUL in it.\n", 1};

    send_all(std::string(line) + '\0');
    vty_reply_t reply;
    while (!take_reply(reply)) {
        char chunk[4096];
        const ssize_t got = recv(fd, chunk, sizeof(chunk), 0);
        if (got == 0)
            throw vty_client_error("the daemon closed the connection");
        if (got < 0 && errno != EINTR)
            fail("the daemon went away");
        if (got > 0)
            received.append(chunk, static_cast<size_t>(got));
    }
    return reply;
}

bool vty_client::closed(int wait_ms) {
    struct pollfd waiting = {fd, POLLIN, 0};
    if (poll(&waiting, 1, wait_ms) <= 0)
        return false;
    char byte;
    return recv(fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}
