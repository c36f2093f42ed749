#include "agentx_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr uint16_t AGENTX_PORT = 705; // RFC 2741, 8.1

template <typename Address>
AgentxAddress as_general(const Address& address) {
    AgentxAddress general = {.address = {}, .length = sizeof address};
    std::memcpy(&general.address, &address, sizeof address);
    return general;
}

std::optional<AgentxAddress> unix_address(std::string_view path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return std::nullopt;
    path.copy(address.sun_path, path.size());
    return as_general(address);
}

std::optional<uint16_t> port_of(std::string_view text) {
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool is_whole = error == std::errc() && end == text.data() + text.size();
    return is_whole && port != 0 ? std::optional(port) : std::nullopt;
}

std::optional<AgentxAddress> internet_address(std::string_view host, uint16_t port) {
    const std::string name(host == "localhost" ? "127.0.0.1" : host);
    sockaddr_in v4 = {};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    if (inet_pton(AF_INET, name.c_str(), &v4.sin_addr) == 1)
        return as_general(v4);
    sockaddr_in6 v6 = {};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    if (inet_pton(AF_INET6, name.c_str(), &v6.sin6_addr) == 1)
        return as_general(v6);
    return std::nullopt;
}

// HOST, HOST:PORT or PORT; an IPv6 address with a port stands in brackets.
std::optional<AgentxAddress> tcp_address(std::string_view text) {
    if (const auto port = port_of(text))
        return internet_address("localhost", *port);
    if (const auto whole = internet_address(text, AGENTX_PORT))
        return whole;
    const bool is_bracketed = text.starts_with('[');
    const size_t end = is_bracketed ? text.find(']') : text.find(':');
    if (end == text.npos)
        return std::nullopt;
    const std::string_view host = text.substr(is_bracketed ? 1 : 0, end - (is_bracketed ? 1 : 0));
    const std::string_view rest = text.substr(end + (is_bracketed ? 1 : 0));
    if (rest.empty())
        return internet_address(host, AGENTX_PORT);
    const auto port = port_of(rest.substr(1));
    return rest.front() == ':' && port ? internet_address(host, *port) : std::nullopt;
}

} // namespace

std::optional<AgentxAddress> agentx_address(std::string_view text) {
    for (const std::string_view prefix : {"unix:", "local:"})
        if (text.starts_with(prefix))
            return unix_address(text.substr(prefix.size()));
    for (const std::string_view prefix : {"tcp:", "tcp6:", "tcpv6:", "tcpipv6:"})
        if (text.starts_with(prefix))
            return tcp_address(text.substr(prefix.size()));
    return text.find('/') != text.npos ? unix_address(text) : tcp_address(text);
}
