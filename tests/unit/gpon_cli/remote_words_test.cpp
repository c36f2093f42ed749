// Words of commands of what lies behind an ONU: MAC addresses, and the addresses of an IP host.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "rm/ov_gpon_rm_ip_host.h"
#include "rm/ov_gpon_rm_mac_word.h"

namespace {

TEST(RemoteMacWord, ThreeGroupsOfFourDigitsAreAnAddress) {
    gpon_rm_mac_t mac{};
    ASSERT_TRUE(gpon_rm_mac_parse("0011-2a3B-FEdc", mac));
    EXPECT_EQ(mac, (gpon_rm_mac_t{0x00, 0x11, 0x2a, 0x3b, 0xfe, 0xdc}));
    EXPECT_EQ(gpon_rm_mac_text(mac), "0011-2a3b-fedc");
    ASSERT_TRUE(gpon_rm_mac_parse("ffff-ffff-ffff", mac));
    EXPECT_EQ(gpon_rm_mac_text(mac), "ffff-ffff-ffff");
}

TEST(RemoteMacWord, AnyOtherFormIsNone) {
    for (const char* word :
         {"", "-", "0011", "0011-2233", "0011-2233-445", "0011-2233-44555", "0011-2233-445g",
          "0011.2233.4455", "00:11:22:33:44:55", "001122334455", "0x11-2233-4455", "+011-2233-4455",
          "-011-2233-4455", "0011-2233-4455-", " 011-2233-4455", "0011--233-4455", "0011-2233_4455"}) {
        gpon_rm_mac_t mac{};
        EXPECT_FALSE(gpon_rm_mac_parse(word, mac)) << word;
    }
}

struct Addresses {
    const char* address;
    const char* mask;
    const char* gateway;
    const char* primary = "0.0.0.0";
    const char* secondary = "0.0.0.0";
};
std::string fault_of(const Addresses& of) {
    ov_sRmIPHostTable_attr_t host = {};
    host.sRmIPHostIpAddress = inet_addr(of.address);
    host.sRmIPHostNetMask = inet_addr(of.mask);
    host.sRmIPHostGateway = inet_addr(of.gateway);
    host.sRmIPHostPrimaryDns = inet_addr(of.primary);
    host.sRmIPHostSecondaryDns = inet_addr(of.secondary);
    const RmAddressFault* const fault = gpon_rm_address_fault(host);
    return fault == nullptr ? "" : fault->text;
}

TEST(RemoteIpHost, AddressesThatAnOnuCanUseAreTaken) {
    for (const Addresses& of : {Addresses{"10.0.0.2", "255.255.255.0", "10.0.0.1", "8.8.8.8", "9.9.9.9"},
                                Addresses{"10.0.0.2", "255.255.255.0", "0.0.0.0"},
                                Addresses{"10.0.0.2", "255.255.255.0", "10.0.0.254", "0.0.0.0", "9.9.9.9"},
                                Addresses{"1.0.0.1", "255.0.0.0", "1.255.255.254"},
                                Addresses{"223.255.255.254", "255.255.255.252", "223.255.255.253"},
                                Addresses{"10.0.0.0", "255.255.255.254", "10.0.0.1"},
                                Addresses{"126.1.2.3", "128.0.0.0", "0.0.0.0"}})
        EXPECT_EQ(fault_of(of), "") << of.address << " " << of.mask << " " << of.gateway;
}

TEST(RemoteIpHost, AddressesThatContradictEachOtherAreNot) {
    const std::pair<Addresses, const char*> faults[] = {
        {{"0.0.0.0", "255.255.255.0", "0.0.0.0"}, "%%Inconsistent ip address%s"},
        {{"0.1.2.3", "255.255.255.0", "0.0.0.0"}, "%%Inconsistent ip address%s"},
        {{"127.0.0.1", "255.0.0.0", "0.0.0.0"}, "%%Inconsistent ip address%s"},
        {{"224.0.0.1", "255.255.255.0", "0.0.0.0"}, "%%Inconsistent ip address%s"},
        {{"255.255.255.255", "255.255.255.0", "0.0.0.0"}, "%%Inconsistent ip address%s"},
        {{"10.0.0.0", "255.255.255.0", "0.0.0.0"}, "%%Inconsistent ip address%s"},
        {{"10.0.0.255", "255.255.255.0", "0.0.0.0"}, "%%Inconsistent ip address%s"},
        {{"10.0.0.2", "0.0.0.0", "0.0.0.0"}, "%%Inconsistent ip netmask%s"},
        {{"10.0.0.2", "255.255.255.255", "0.0.0.0"}, "%%Inconsistent ip netmask%s"},
        {{"10.0.0.2", "255.0.255.0", "0.0.0.0"}, "%%Inconsistent ip netmask%s"},
        {{"10.0.0.2", "0.0.0.255", "0.0.0.0"}, "%%Inconsistent ip netmask%s"},
        {{"10.0.0.2", "255.255.255.0", "10.0.1.1"}, "%%Inconsistent ip gateway%s"},
        {{"10.0.0.2", "255.255.255.0", "10.0.0.2"}, "%%Inconsistent ip gateway%s"},
        {{"10.0.0.2", "255.255.255.0", "10.0.0.0"}, "%%Inconsistent ip gateway%s"},
        {{"10.0.0.2", "255.255.255.0", "10.0.0.255"}, "%%Inconsistent ip gateway%s"},
        {{"126.0.0.1", "128.0.0.0", "127.0.0.1"}, "%%Inconsistent ip gateway%s"},
        {{"10.0.0.2", "255.255.255.0", "10.0.0.1", "240.0.0.1"}, "%%Inconsistent primary DNS server%s"},
        {{"10.0.0.2", "255.255.255.0", "10.0.0.1", "8.8.8.8", "127.0.0.53"},
         "%%Inconsistent secondary DNS server%s"}};
    for (const auto& [of, text] : faults)
        EXPECT_EQ(fault_of(of), text) << of.address << " " << of.mask << " " << of.gateway;
}

} // namespace
