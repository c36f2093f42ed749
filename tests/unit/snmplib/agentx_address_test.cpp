// The forms of a master agent's address.
#include "agentx_address.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <string>

namespace {

// As "unix /path", "4 192.0.2.1 705", "6 2001:db8::1 705"; "" for none.
std::string told(const std::string& text) {
    const auto found = agentx_address(text);
    if (!found)
        return "";
    char host[INET6_ADDRSTRLEN] = "";
    const auto* const any = &found->address;
    if (const auto* path = reinterpret_cast<const sockaddr_un*>(any); path->sun_family == AF_UNIX)
        return std::string("unix ") + path->sun_path;
    if (const auto* v4 = reinterpret_cast<const sockaddr_in*>(any); v4->sin_family == AF_INET) {
        inet_ntop(AF_INET, &v4->sin_addr, host, sizeof host);
        return std::string("4 ") + host + " " + std::to_string(ntohs(v4->sin_port));
    }
    const auto* v6 = reinterpret_cast<const sockaddr_in6*>(any);
    inet_ntop(AF_INET6, &v6->sin6_addr, host, sizeof host);
    return std::string("6 ") + host + " " + std::to_string(ntohs(v6->sin6_port));
}

TEST(AgentxAddress, APathIsAUnixSocketWithOrWithoutItsTransport) {
    for (const char* form : {"/run/snmp/agentx", "unix:/run/snmp/agentx", "local:/run/snmp/agentx"})
        EXPECT_EQ(told(form), "unix /run/snmp/agentx") << form;
    EXPECT_EQ(told("unix:agentx"), "unix agentx");
    EXPECT_EQ(told("/" + std::string(106, 'x')), "unix /" + std::string(106, 'x'));
    EXPECT_EQ(told("/" + std::string(107, 'x')), "") << "longer than a socket's path may be";
    EXPECT_EQ(told("unix:"), "");
}

TEST(AgentxAddress, HostsAndPortsAreTcp) {
    for (const char* form : {"tcp:192.0.2.1:1705", "192.0.2.1:1705"})
        EXPECT_EQ(told(form), "4 192.0.2.1 1705") << form;
    for (const char* form : {"tcp:127.0.0.1", "127.0.0.1", "localhost", "705", "tcp:705", "localhost:705"})
        EXPECT_EQ(told(form), "4 127.0.0.1 705") << form;
    for (const char* form : {"tcp6:[2001:db8::1]:705", "[2001:db8::1]", "tcpipv6:2001:db8::1", "2001:db8::1"})
        EXPECT_EQ(told(form), "6 2001:db8::1 705") << form;
}

TEST(AgentxAddress, WhatIsNoStreamAndNoAddressIsNone) {
    for (const char* form : {"", "udp:127.0.0.1:705", "host.example:705", "127.0.0.1:", "127.0.0.1:0",
                             "127.0.0.1:65536", "127.0.0.1:7x", "[::1", "[::1]705", "tcp:", ":705", "-1"})
        EXPECT_EQ(told(form), "") << form;
}

} // namespace
