#include "ov_gpon_rm_ip_host.h"

#include <arpa/inet.h>
#include <cstdint>

#include "ov_gpon_rm_address.h"

namespace {

// A network of one address has no other host to talk to.
bool is_mask(uint32_t mask) {
    return gpon_rm_is_netmask(mask) && ~mask != 0;
}

// Networks of two addresses have neither a first nor a last one (RFC 3021).
bool is_host_of_network(uint32_t address, uint32_t mask) {
    const uint32_t hosts = ~mask;
    const uint32_t host = address & hosts;
    return hosts <= 1 || (host != 0 && host != hosts);
}

constexpr RmAddressFault ADDRESS = {"%%Inconsistent ip address%s", "the address isn't one of a host"};
constexpr RmAddressFault END_OF_NETWORK = {"%%Inconsistent ip address%s",
                                           "the address is the first or the last of its network"};
constexpr RmAddressFault MASK = {"%%Inconsistent ip netmask%s", "the netmask isn't ones and then zeros"};
constexpr RmAddressFault GATEWAY = {"%%Inconsistent ip gateway%s",
                                    "the gateway isn't another host of the address's network"};
constexpr RmAddressFault PRIMARY = {"%%Inconsistent primary DNS server%s",
                                    "the DNS server's address isn't one of a host"};
constexpr RmAddressFault SECONDARY = {"%%Inconsistent secondary DNS server%s",
                                      "the DNS server's address isn't one of a host"};

const RmAddressFault* fault_of(uint32_t address, uint32_t mask) {
    if (!gpon_rm_is_host(address))
        return &ADDRESS;
    if (!is_mask(mask))
        return &MASK;
    return is_host_of_network(address, mask) ? nullptr : &END_OF_NETWORK;
}

bool is_gateway(uint32_t gateway, uint32_t address, uint32_t mask) {
    return gateway == RM_NO_ADDRESS || (gateway != address && (gateway & mask) == (address & mask) &&
                                        gpon_rm_is_host(gateway) && is_host_of_network(gateway, mask));
}

} // namespace

const RmAddressFault* gpon_rm_address_fault(const ov_sRmIPHostTable_attr_t& host) {
    const uint32_t address = ntohl(host.sRmIPHostIpAddress);
    const uint32_t mask = ntohl(host.sRmIPHostNetMask);
    if (const RmAddressFault* const fault = fault_of(address, mask); fault != nullptr)
        return fault;
    if (!is_gateway(ntohl(host.sRmIPHostGateway), address, mask))
        return &GATEWAY;
    if (!gpon_rm_is_host_or_none(ntohl(host.sRmIPHostPrimaryDns)))
        return &PRIMARY;
    return gpon_rm_is_host_or_none(ntohl(host.sRmIPHostSecondaryDns)) ? nullptr : &SECONDARY;
}
