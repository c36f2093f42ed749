#include "home_rules.h"

#include <bit>

#include "home.h"
#include "qinq_rules.h"
#include "text.h"
#include "told.h"

namespace {

constexpr uint32_t CARD_NOT_SUPPORTED = 1008;
constexpr uint32_t NETWORKS_OF_A_RADIO = 4;
constexpr uint8_t FIRST_MODE_5G = 6;     // 802.11a
constexpr uint8_t FIRST_CHANNEL_5G = 36; // of the radio at 2.4 GHz 13 is the last

bool touches(const CardRequest& request, int attribute) {
    return request.action == card_action::CREATE || request.mask >> attribute & 1;
}

// Another service has this number already. A replay, which waits for no answers, tells all of them anew.
bool is_taken(const CardRequest& request, const CardObjects& objects) {
    const auto* held = objects.find(*request.message, request.record);
    return request.action == card_action::CREATE && request.wants_reply() && held &&
           !std::ranges::equal(*held, request.record);
}

std::optional<CardRefusal> check_service(const CardRequest& request, const CardObjects& objects) {
    const auto service = record_of<ov_gpon_rmservice_attr_t>(request.record);
    const uint32_t gem = service.gemId;
    if (touches(request, OV_GPON_RMSERVICE_ATTR_INDEX_gemId) &&
        !has_gem_port(objects, service.onuIfindex, gem))
        return CardRefusal{"no-gem-port", CARD_NOT_FOUND, format("gem=%u", gem)};
    if (is_taken(request, objects))
        return CardRefusal{"exists", CARD_ERROR,
                           format("service=%u", static_cast<unsigned>(service.serviceId))};
    return {};
}

// The mode of a filter and its limit may be told before the service is.
std::optional<CardRefusal> check_filter(const CardRequest& request, const CardObjects& objects) {
    const auto filter = record_of<ov_gpon_rm_macfilter_attr_t>(request.record);
    const uint32_t service = filter.flowId;
    const auto services =
        told_records<ov_gpon_rmservice_attr_t>(objects, OV_HAL_MSG_GPON_RM_SERVICE, filter.onuIfindex);
    const bool is_rule = filter.entryId != 0;
    if (is_rule &&
        std::ranges::none_of(services, [service](const auto& s) { return s.serviceId == service; }))
        return CardRefusal{"no-service", CARD_NOT_FOUND, format("service=%u", service)};
    return {};
}

std::optional<CardRefusal> check_user(const CardRequest& request, const CardObjects& objects) {
    const auto user = record_of<ov_rm_voip_sip_user_data_attr_t>(request.record);
    const uint32_t agent = user.agentID;
    const auto agents = told_records<ov_rm_voip_sip_agent_config_data_attr_t>(
        objects, OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG, user.onuIfindex);
    if (agent != 0 && touches(request, OV_RM_VOIP_SIP_USER_DATA_INDEX_AGENTID) &&
        std::ranges::none_of(agents, [agent](const auto& a) { return a.agentID == agent; }))
        return CardRefusal{"no-agent", CARD_NOT_FOUND, format("agent=%u", agent)};
    return {};
}

uint32_t highest(uint32_t bits) {
    return static_cast<uint32_t>(std::bit_width(bits));
}

// Bindings are bits, from the first port and the first network of each radio.
std::optional<CardRefusal> check_wan(const CardRequest& request, const CardObjects& objects, const Onu& onu) {
    const auto wan = record_of<ov_gpon_rmwan_attr_t>(request.record);
    const auto ports = ports_of(onu, objects);
    if (ports && highest(wan.lan) > ports->cards * ports->eth)
        return CardRefusal{"no-such-lan", CARD_NOT_FOUND, format("lan=0x%x", wan.lan)};
    if (highest(wan.ssid) > onu.home.networks || highest(wan.ssid5G) > onu.home.networks_5g)
        return CardRefusal{"no-such-ssid", CARD_NOT_FOUND,
                           format("ssid=0x%x ssid5G=0x%x", wan.ssid, wan.ssid5G)};
    return {};
}

std::optional<CardRefusal> check_wifi(const CardRequest& request, const Onu& onu) {
    const auto wifi = record_of<ov_gpon_rmwifi_attr_t>(request.record);
    const bool is_5g = wifi.wifiIndex > NETWORKS_OF_A_RADIO;
    const uint32_t place = is_5g ? wifi.wifiIndex - NETWORKS_OF_A_RADIO : wifi.wifiIndex;
    const std::string what = format("wifi=%u", wifi.wifiIndex);
    if (place == 0 || place > (is_5g ? onu.home.networks_5g : onu.home.networks))
        return CardRefusal{"no-such-ssid", CARD_NOT_FOUND, what};
    const bool other_mode = wifi.wifiMode != 0 && (wifi.wifiMode >= FIRST_MODE_5G) != is_5g;
    const bool other_channel = wifi.wifiChannel != 0 && (wifi.wifiChannel >= FIRST_CHANNEL_5G) != is_5g;
    if (other_mode || other_channel)
        return CardRefusal{"not-on-this-radio", CARD_NOT_SUPPORTED,
                           what + format(" mode=%u channel=%u", wifi.wifiMode, wifi.wifiChannel)};
    return {};
}

// Profile 0 is in every card.
bool has_rssi_profile(const CardObjects& objects, uint32_t profile) {
    return profile == 0 || objects.find(OV_HAL_MSG_GPON_ONU_RSSI, profile) != nullptr;
}

std::optional<CardRefusal> check_onu(const CardRequest& request, const CardObjects& objects) {
    const auto profile =
        static_cast<uint32_t>(record_of<ov_gpon_onu_attr_t>(request.record).rssiProfileId.value());
    if (touches(request, OV_GPON_ONU_ATTR_INDEX_rssi) && !has_rssi_profile(objects, profile))
        return CardRefusal{"no-rssi-profile", CARD_NOT_FOUND, format("profile=%u", profile)};
    return {};
}

std::optional<CardRefusal> check_rssi_profile(const CardRequest& request, const CardObjects& objects) {
    const uint32_t profile = get_be32(request.record, 0);
    if (request.action == card_action::SET && !has_rssi_profile(objects, profile))
        return CardRefusal{"not-found", CARD_NOT_FOUND, format("profile=%u", profile)};
    return {};
}

bool is_write(const CardRequest& request) {
    return request.action == card_action::CREATE || request.action == card_action::SET;
}

} // namespace

std::optional<CardRefusal> check_references(const CardRequest& request, const CardObjects& objects) {
    if (is_qinq(*request.message))
        return check_qinq(request, objects);
    if (!is_write(request))
        return {};
    switch (request.message->number) {
    case OV_HAL_MSG_GPON_ONU:
        return check_onu(request, objects);
    case OV_HAL_MSG_GPON_ONU_RSSI:
        return check_rssi_profile(request, objects);
    case OV_HAL_MSG_GPON_RM_SERVICE:
        return check_service(request, objects);
    case OV_HAL_MSG_GPON_RM_MAC_FLT:
        return check_filter(request, objects);
    case OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA:
        return check_user(request, objects);
    default:
        return {};
    }
}

std::optional<CardRefusal> check_home(const CardRequest& request, const CardObjects& objects,
                                      const Onu& onu) {
    if (!is_write(request))
        return {};
    switch (request.message->number) {
    case OV_HAL_MSG_GPON_RM_WAN:
        return check_wan(request, objects, onu);
    case OV_HAL_MSG_GPON_RM_WIFI:
        return check_wifi(request, onu);
    default:
        return {};
    }
}
