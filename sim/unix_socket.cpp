#include "unix_socket.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>

namespace {

bool is_alive(const sockaddr_un& addr, int type) {
    Fd fd(socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // EAGAIN: the backlog is full, so somebody listens
    return fd &&
           (connect(fd.get(), reinterpret_cast<const sockaddr*>(&addr), sizeof addr) == 0 || errno == EAGAIN);
}

bool make_room(const std::string& path, const sockaddr_un& addr, int type, std::string& error) {
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0)
        return true;
    if (!S_ISSOCK(st.st_mode))
        error = path + ": exists and is not a socket";
    else if (is_alive(addr, type))
        error = path + ": another program is serving it";
    else if (unlink(path.c_str()) != 0)
        error = path + ": " + std::strerror(errno);
    return error.empty();
}

} // namespace

bool unix_address(const std::string& path, sockaddr_un& addr) {
    addr = {};
    addr.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof addr.sun_path)
        return false;
    std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    return true;
}

Fd bind_unix_socket(const std::string& path, int type, std::string& error) {
    sockaddr_un addr;
    if (!unix_address(path, addr)) {
        error = path + ": too long for a socket";
        return {};
    }
    if (!make_room(path, addr, type, error))
        return {};
    Fd fd(socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!fd || bind(fd.get(), reinterpret_cast<const sockaddr*>(&addr), sizeof addr) != 0) {
        error = path + ": " + std::strerror(errno);
        return {};
    }
    return fd;
}
