// Where the master agent listens, as the SNMP library's configuration has it ("agentXSocket ADDRESS").
//
//   /run/snmp/agentx, unix:/run/snmp/agentx               a Unix socket
//   tcp:192.0.2.1:705, 192.0.2.1:705, localhost, 705      TCP, port 705 unless there is one
//   tcp6:[2001:db8::1]:705, [2001:db8::1]
//
// AgentX needs a stream: nothing goes over UDP. Hosts are addresses, since a name server may take long to
// answer.
#pragma once

#include <sys/socket.h>

#include <optional>
#include <string_view>

struct AgentxAddress {
    sockaddr_storage address;
    socklen_t length;
};

// Nothing for what isn't an address of these kinds.
std::optional<AgentxAddress> agentx_address(std::string_view text);
