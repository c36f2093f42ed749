#include "service_manager.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

std::string_view variable(const char* name) {
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

std::optional<uint64_t> number(std::string_view text) {
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

// The length, or 0 for what is no address.
socklen_t address_of(std::string_view name, sockaddr_un& address) {
    if (name.size() < 2 || name.size() >= sizeof address.sun_path || (name[0] != '/' && name[0] != '@'))
        return 0;
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, name.data(), name.size());
    if (name[0] == '@')
        address.sun_path[0] = '\0';
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
}

} // namespace

bool service_manager_tell(std::string_view assignments) {
    sockaddr_un address = {};
    const socklen_t length = address_of(variable("NOTIFY_SOCKET"), address);
    if (length == 0)
        return false;
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return false;
    const ssize_t sent = sendto(fd, assignments.data(), assignments.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), length);
    close(fd);
    return sent == static_cast<ssize_t>(assignments.size());
}

std::chrono::milliseconds service_watchdog_interval() {
    constexpr uint64_t LONGEST = 3600ULL * 1000; // milliseconds: far within what a timer takes
    const auto usec = number(variable("WATCHDOG_USEC"));
    const std::string_view pid = variable("WATCHDOG_PID");
    if (!usec || *usec == 0 || (!pid.empty() && number(pid) != static_cast<uint64_t>(getpid())))
        return std::chrono::milliseconds(0);
    return std::chrono::milliseconds(std::clamp<uint64_t>(*usec / 2000, 1, LONGEST));
}
