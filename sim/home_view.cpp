#include "home_view.h"

#include <utility>

#include "card_fields.h"
#include "home.h"
#include "onu_rules.h"
#include "text.h"
#include "told.h"

namespace {

using Bytes = CardObjects::Bytes;

struct View {
    const Onu& onu;
    const CardObjects& objects;

    std::vector<const Bytes*> told(uint16_t number) const { return told_of(objects, number, onu.index); }
    std::vector<UniPosition> unis(int32_t type) const {
        std::vector<UniPosition> found;
        for (const UniPosition& uni : unis_of(ports_of(onu, objects).value_or(UniPorts())))
            if (uni.type == type)
                found.push_back(uni);
        return found;
    }
};

std::string ipv4_text(uint32_t address) {
    return format("%u.%u.%u.%u", address >> 24, address >> 16 & 255, address >> 8 & 255, address & 255);
}

// One thing of a list: what it is called, and what the ONU makes of it; its settings are a record.
NamedValues describe_connection(const Connection& connection) {
    NamedValues values{{"state", connection.state}};
    if (connection.in_use.address == 0)
        return values;
    values.emplace_back("address", ipv4_text(connection.in_use.address));
    values.emplace_back("netmask", ipv4_text(connection.in_use.netmask));
    values.emplace_back("gateway", ipv4_text(connection.in_use.gateway));
    values.emplace_back("dns", ipv4_text(connection.in_use.dns));
    values.emplace_back("dns-2", ipv4_text(connection.in_use.dns_2));
    return values;
}

NamedValues describe_service(const View& view, std::span<const uint8_t> bytes) {
    const auto service = record_of<ov_gpon_rmservice_attr_t>(bytes);
    const auto uni = uni_of(*find_card_message(OV_HAL_MSG_GPON_RM_SERVICE), bytes);
    return {{"service", format("%u", static_cast<unsigned>(service.serviceId))},
            {"state", service_is_up(view.onu, view.objects, service) ? "up" : "down"},
            {"uni", uni ? uni_text(*uni) : "-"}};
}

NamedValues describe_wan(const View& view, std::span<const uint8_t> bytes) {
    const auto wan = record_of<ov_gpon_rmwan_attr_t>(bytes);
    NamedValues values{{"wan", format("%u", wan.wanIndex)}};
    const NamedValues connection = describe_connection(wan_connection(view.onu, wan));
    values.insert(values.end(), connection.begin(), connection.end());
    return values;
}

NamedValues describe_ip_host(const View& view, std::span<const uint8_t> bytes) {
    return describe_connection(ip_host_connection(view.onu, record_of<ov_gpon_onu_iphost_attr_t>(bytes)));
}

NamedValues describe_wifi(const View& view, std::span<const uint8_t> bytes) {
    const auto wifi = record_of<ov_gpon_rmwifi_attr_t>(bytes);
    return {{"wifi", format("%u", wifi.wifiIndex)}, {"state", wifi_state(view.onu, wifi)}};
}

NamedValues describe_tr069(const View& view, std::span<const uint8_t> bytes) {
    return {{"state", tr069_state(view.onu, record_of<ov_gpon_onu_tr069_mgmt_attr_t>(bytes))}};
}

template <uint16_t Number>
NamedValues describe_uni(const View&, std::span<const uint8_t> bytes) {
    return {{"uni", uni_text(*uni_of(*find_card_message(Number), bytes))}};
}

NamedValues describe_multicast(const View& view, std::span<const uint8_t> bytes) {
    NamedValues values = describe_uni<OV_HAL_MSG_GPON_RM_UNI_MCAST>(view, bytes);
    const auto multicast = record_of<ov_gpon_rmuni_mcast_attr_t>(bytes);
    const bool is_enabled = multicast_is_enabled(view.onu, view.objects, multicast);
    values.emplace_back("state", is_enabled ? "enabled" : "disabled");
    return values;
}

NamedValues nothing_more(const View&, std::span<const uint8_t>) {
    return {};
}

// What the card was told, in the order in which it is shown.
struct Section {
    const char* heading;
    const char* member; // of the JSON object
    uint16_t number;
    bool is_list; // of an ONU there may be several
    NamedValues (*describe)(const View& view, std::span<const uint8_t> bytes);
};
constexpr Section SECTIONS[] = {
    {"services", "services", OV_HAL_MSG_GPON_RM_SERVICE, true, describe_service},
    {"MAC filters", "mac_filters", OV_HAL_MSG_GPON_RM_MAC_FLT, true, nothing_more},
    {"multicast", "multicast", OV_HAL_MSG_GPON_RM_UNI_MCAST, true, describe_multicast},
    {"WAN connections", "wan", OV_HAL_MSG_GPON_RM_WAN, true, describe_wan},
    {"Wi-Fi networks", "wifi", OV_HAL_MSG_GPON_RM_WIFI, true, describe_wifi},
    {"IP host", "ip_host", OV_HAL_MSG_GPON_RMONU_IPHOST, false, describe_ip_host},
    {"TR-069 client", "tr069", OV_HAL_MSG_GPON_RMONU_TR069_SRV, false, describe_tr069},
    {"queues", "queues", OV_HAL_MSG_GPON_RMONU_QUEUE_SCHEDULE, false, nothing_more},
    {"optical thresholds", "thresholds", OV_HAL_MSG_GPON_RMONU_OPT_THRESHOLD, false, nothing_more},
    {"VoIP", "voip", OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA, false, nothing_more},
    {"SIP agents", "sip_agents", OV_HAL_MSG_GPON_RMONU_VOIP_SIP_AGENT_CONFIG, true, nothing_more},
    {"SIP users", "sip_users", OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA, true,
     describe_uni<OV_HAL_MSG_GPON_RMONU_VOIP_SIP_USER_DATA>},
    {"PoE settings", "poe_settings", OV_HAL_MSG_GPON_RM_ONU_POE, false, nothing_more},
    {"PoE settings of ports", "poe_port_settings", OV_HAL_MSG_GPON_RM_UNI_POE, true,
     describe_uni<OV_HAL_MSG_GPON_RM_UNI_POE>},
};

// ---- what is at the ports ---------------------------------------------------------------------------------

NamedValues describe_line(const View& view, const UniPosition& pots) {
    const LineState state = line_state(view.onu, view.objects, pots);
    const auto it = view.onu.home.phones.find(pots);
    const Phone phone = it == view.onu.home.phones.end() ? Phone() : it->second;
    return {{"uni", uni_text(pots)},
            {"state", state.name},
            {"status", format("%u", state.status)},
            {"hook", phone.is_off_hook ? "off" : "on"},
            {"call", phone.called}};
}

NamedValues describe_poe(const View& view, const UniPosition& uni) {
    const PoePower power = poe_powers(view.onu, view.objects)[uni];
    const auto it = view.onu.home.poe.find(uni);
    const PoePort port = it == view.onu.home.poe.end() ? PoePort() : it->second;
    return {{"uni", uni_text(uni)},
            {"state", poe_detection_name(power.detection)},
            {"device", format("%u", port.watts)},
            {"watts", format("%u", power.consumed)},
            {"allocated", format("%u", power.allocated)},
            {"denied", format("%u", port.denied)},
            {"absent", format("%u", port.absent)},
            {"overloads", format("%u", port.overloads)},
            {"shorts", format("%u", port.shorts)}};
}

// In the text stand only the ports at which there is something to see.
bool is_in_use(const View& view, const UniPosition& uni) {
    if (uni.type == OV_GPON_RMUNI_TYPE_POTS)
        return view.onu.home.phones.contains(uni) ||
               !view.told(OV_HAL_MSG_GPON_RMONU_VOIP_CONFIG_DATA).empty();
    return view.onu.home.poe.contains(uni) || poe_settings(view.onu, view.objects, uni).poeAdminState != 0;
}

struct PortSection {
    const char* heading;
    const char* member;
    int32_t type;
    NamedValues (*describe)(const View& view, const UniPosition& uni);
};
constexpr PortSection PORT_SECTIONS[] = {
    {"telephone lines", "lines", OV_GPON_RMUNI_TYPE_POTS, describe_line},
    {"power over Ethernet", "poe", OV_GPON_RMUNI_TYPE_ETH, describe_poe},
};

// ---- text -------------------------------------------------------------------------------------------------

std::string words_of(const NamedValues& values) {
    std::string text;
    for (const auto& [name, value] : values)
        text += " " + name + "=" + encode_value(value);
    return text;
}

// Settings that are 0 or empty say nothing.
NamedValues told_values(const CardMessage& message, std::span<const uint8_t> bytes) {
    NamedValues values = card_values_of(*message.record, bytes);
    std::erase_if(values, [](const auto& value) {
        const auto& [name, text] = value;
        return text.empty() || text == "0" || name == "onuIfindex" || name == "port" ||
               name.starts_with("uniPos.");
    });
    return values;
}

void add_section(const View& view, const Section& section, std::vector<std::string>& lines) {
    const auto told = view.told(section.number);
    if (told.empty())
        return;
    lines.push_back(std::string(section.heading) + ":");
    for (const Bytes* bytes : told)
        lines.push_back(" " + words_of(section.describe(view, *bytes)) +
                        words_of(told_values(*find_card_message(section.number), *bytes)));
}

void add_ports(const View& view, const PortSection& section, std::vector<std::string>& lines) {
    bool has_heading = false;
    for (const UniPosition& uni : view.unis(section.type)) {
        if (!is_in_use(view, uni))
            continue;
        if (!std::exchange(has_heading, true))
            lines.push_back(std::string(section.heading) + ":");
        lines.push_back(" " + words_of(section.describe(view, uni)));
    }
}

// ---- JSON -------------------------------------------------------------------------------------------------

// The number that is called is a text.
bool is_number(std::string_view name, std::string_view text) {
    return name != "call" && !text.empty() &&
           std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

std::string members_of(const NamedValues& values) {
    std::string text;
    for (const auto& [name, value] : values)
        text += (text.empty() ? "" : ", ") + json_string(name) + ": " +
                (is_number(name, value) ? value : json_string(value));
    return text;
}

std::string told_json(const View& view, const Section& section, const Bytes& bytes) {
    const std::string members = members_of(section.describe(view, bytes));
    return "{" + members + (members.empty() ? "" : ", ") +
           "\"settings\": " + card_record_json(*find_card_message(section.number)->record, bytes) + "}";
}

std::string join(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : ", ") + part;
    return text;
}

std::string section_json(const View& view, const Section& section) {
    std::vector<std::string> parts;
    for (const Bytes* bytes : view.told(section.number))
        parts.push_back(told_json(view, section, *bytes));
    const std::string value = section.is_list ? "[" + join(parts) + "]"
                              : parts.empty() ? "null"
                                              : parts.front();
    return json_string(section.member) + ": " + value;
}

std::string ports_json(const View& view, const PortSection& section) {
    std::vector<std::string> parts;
    for (const UniPosition& uni : view.unis(section.type))
        parts.push_back("{" + members_of(section.describe(view, uni)) + "}");
    return json_string(section.member) + ": [" + join(parts) + "]";
}

} // namespace

std::vector<std::string> home_lines(const Card& card, const Onu& onu) {
    const View view{onu, card.objects()};
    std::vector<std::string> lines;
    for (const Section& section : SECTIONS)
        add_section(view, section, lines);
    for (const PortSection& section : PORT_SECTIONS)
        add_ports(view, section, lines);
    return lines;
}

std::vector<std::string> home_json(const Card& card, const Onu& onu) {
    const View view{onu, card.objects()};
    std::vector<std::string> lines;
    for (const Section& section : SECTIONS)
        lines.push_back(section_json(view, section));
    for (const PortSection& section : PORT_SECTIONS)
        lines.push_back(ports_json(view, section));
    lines.push_back(format("\"sip_server\": \"%s\"", onu.home.server_refuses ? "refuse" : "accept"));
    return lines;
}
