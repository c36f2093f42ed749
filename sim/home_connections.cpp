#include "card_frame.h"
#include "home.h"
#include "onu.h"
#include "told.h"

namespace {

enum WanMode : uint8_t { ROUTE = 1, BRIDGE = 2 };
enum AddressBy : uint8_t { DHCP = 1, STATIC = 2, PPPOE = 3 };
constexpr uint8_t HOST_BY_DHCP = 1;

constexpr uint32_t HOST_NETMASK = 0xFFFFFF00;
constexpr uint32_t ONE_ADDRESS = 0xFFFFFFFF;

constexpr Connection ONU_DOWN = {"onu-down"};
constexpr Connection DISABLED = {"disabled"};
constexpr Connection BRIDGED = {"bridged"};
constexpr Connection NO_LOGIN = {"no-login"};
constexpr Connection NO_ADDRESS = {"no-address"};

bool is_up(const Onu& onu) {
    return onu.state == OnuState::OPERATIONAL;
}

// An address of the ONU's place: NET.slot.port.onu, with 16 added to the port for each host (0 to 8).
uint32_t address_at(uint32_t net, uint32_t index, uint32_t host) {
    const uint32_t port = (index >> 15 & 15) + 1;
    return net << 24 | slot_of(index) << 16 | ((16 * host + port) & 255) << 8 | onu_number_of(index);
}

Ipv4Setting from_dhcp(const Onu& onu, uint32_t host) {
    const uint32_t address = address_at(10, onu.index, host);
    return {address, HOST_NETMASK, (address & HOST_NETMASK) | 0xFE, 0x0AFF0001, 0x0AFF0002};
}

Ipv4Setting from_pppoe(const Onu& onu, uint32_t host) {
    return {address_at(100, onu.index, host), ONE_ADDRESS, 0x64FF0001, 0x0AFF0001, 0x0AFF0002};
}

Connection with_static(const Ipv4Setting& set) {
    return set.address ? Connection{"up", set} : NO_ADDRESS;
}

} // namespace

Connection wan_connection(const Onu& onu, const ov_gpon_rmwan_attr_t& wan) {
    if (!is_up(onu))
        return ONU_DOWN;
    if (wan.enable == 0)
        return DISABLED;
    if (wan.wanMode == BRIDGE)
        return BRIDGED;
    switch (wan.wanDSP) {
    case DHCP:
        return {"up", from_dhcp(onu, wan.wanIndex)};
    case STATIC:
        return with_static({wan.ipAddr, wan.netMask, wan.gateway, wan.dns, wan.dns_2});
    case PPPOE:
        return wan.pppUser[0] && wan.pppPwd[0] ? Connection{"up", from_pppoe(onu, wan.wanIndex)} : NO_LOGIN;
    default:
        return NO_ADDRESS;
    }
}

Connection ip_host_connection(const Onu& onu, const ov_gpon_onu_iphost_attr_t& host) {
    if (!is_up(onu))
        return ONU_DOWN;
    if (host.mode == HOST_BY_DHCP)
        return {"up", from_dhcp(onu, 0)};
    return with_static({host.ipaddr, host.netmask, host.gateway, host.priDns, host.secDns});
}

const char* wifi_state(const Onu& onu, const ov_gpon_rmwifi_attr_t& wifi) {
    if (!is_up(onu))
        return "onu-down";
    if (wifi.wifiEnable == 0)
        return "radio-off";
    return wifi.wifiSsidEnable == 0 ? "ssid-off" : "up";
}

const char* tr069_state(const Onu& onu, const ov_gpon_onu_tr069_mgmt_attr_t& client) {
    if (!is_up(onu))
        return "onu-down";
    if (client.adminstate != 0)
        return "locked";
    return client.acsAddr[0] == '\0' ? "no-server" : "up";
}

bool multicast_is_enabled(const Onu& onu, const CardObjects& objects,
                          const ov_gpon_rmuni_mcast_attr_t& multicast) {
    const auto& place = multicast.uniPos;
    return multicast.enabled != 0 ||
           uni_settings(onu, objects, {place.cardId, place.uniType, place.uniId}).mcastEnabled != 0u;
}

bool has_gem_port(const CardObjects& objects, uint32_t onu_index, uint32_t gem) {
    if (gem == 0 || gem > 128)
        return false;
    const auto held = [&objects, gem](uint32_t onu) {
        return objects.find(OV_HAL_MSG_GPON_GEMPORT, index_kind::GEM << 27 | (onu & 0x07FFFF80) | (gem - 1));
    };
    const uint32_t profile = template_of(objects, onu_index);
    return held(onu_index) || (profile && held(profile));
}

bool service_is_up(const Onu& onu, const CardObjects& objects, const ov_gpon_rmservice_attr_t& service) {
    if (!is_up(onu) || !has_gem_port(objects, onu.index, service.gemId))
        return false;
    const bool is_of_uni = service.uniPos.cardId != 0u && service.uniPos.uniType != OV_GPON_RMUNI_TYPE_IPHOST;
    return !is_of_uni ||
           uni_is_up(onu, objects, {service.uniPos.cardId, service.uniPos.uniType, service.uniPos.uniId});
}
