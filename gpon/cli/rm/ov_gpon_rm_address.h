// What IPv4 addresses can be, for the words of commands. Numbers are in the host's order.
#pragma once

#include <cstdint>

inline constexpr uint32_t RM_NO_ADDRESS = 0;

// Of one host: neither of this network (0.0.0.0/8) or this host (127.0.0.0/8), nor a group, nor reserved
// (RFC 1122, 3.2.1.3).
constexpr bool gpon_rm_is_host(uint32_t address) {
    constexpr uint32_t THIS_NETWORK = 0;
    constexpr uint32_t LOOPBACK = 127;
    constexpr uint32_t MULTICAST = 224; // from 224.0.0.0 on there are no hosts
    const uint32_t first = address >> 24;
    return first != THIS_NETWORK && first != LOOPBACK && first < MULTICAST;
}
constexpr bool gpon_rm_is_host_or_none(uint32_t address) {
    return address == RM_NO_ADDRESS || gpon_rm_is_host(address);
}

// Ones up to a place and zeros behind it, of which there may be none.
constexpr bool gpon_rm_is_netmask(uint32_t mask) {
    const uint32_t hosts = ~mask;
    return mask != 0 && (hosts & (hosts + 1)) == 0;
}
