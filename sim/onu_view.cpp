#include "onu_view.h"

#include <set>

#include "card_fields.h"
#include "card_json.h"
#include "home_view.h"
#include "onu_rules.h"
#include "pm_view.h"
#include "text.h"

namespace {

constexpr uint16_t RM_UNI = 915;
constexpr uint16_t RM_UNI_VLAN = 916;

// The ONU's UNIs; of one whose ports aren't known those that it was told of.
std::vector<UniPosition> shown_unis(const Card& card, const Onu& onu) {
    if (const auto ports = ports_of(onu, card.objects()))
        return unis_of(*ports);
    std::set<UniPosition> told;
    for (const uint16_t number : {RM_UNI, RM_UNI_VLAN})
        for (const auto& [key, bytes] : card.objects().table(number))
            if (get_be32(bytes, 0) == onu.index)
                told.insert(*uni_of(*find_card_message(number), bytes));
    return {told.begin(), told.end()};
}

std::vector<uint8_t> settings_bytes(const Card& card, const Onu& onu, const UniPosition& uni) {
    const auto settings = uni_settings(onu, card.objects(), uni);
    const auto* bytes = reinterpret_cast<const uint8_t*>(&settings);
    return {bytes, bytes + sizeof settings};
}

// The record of its VLANs, null when it was told of none: it is keyed as its settings are.
const CardObjects::Bytes* vlans_of(const Card& card, const Onu& onu, const UniPosition& uni) {
    const CardMessage& message = *find_card_message(RM_UNI_VLAN);
    std::vector<uint8_t> key = settings_bytes(card, onu, uni);
    key.resize(message.size);
    return card.objects().find(message, key);
}

Uni uni_of_onu(const Onu& onu, const UniPosition& position) {
    const auto it = onu.unis.find(position);
    return it == onu.unis.end() ? Uni() : it->second;
}

std::string counts_json(const UniCounts& counts) {
    return format(
        R"({"packets": %llu, "bytes": %llu, "broadcast": %llu, "multicast": %llu, "errors": %llu})",
        static_cast<unsigned long long>(counts.packets), static_cast<unsigned long long>(counts.bytes),
        static_cast<unsigned long long>(counts.broadcast), static_cast<unsigned long long>(counts.multicast),
        static_cast<unsigned long long>(counts.errors));
}

std::string uni_json(const Card& card, const Onu& onu, const UniPosition& position) {
    const Uni uni = uni_of_onu(onu, position);
    const auto* vlans = vlans_of(card, onu, position);
    return format(R"({"uni": "%s", "up": %s, "link": %s, "loop": %s, )", uni_text(position).c_str(),
                  uni_is_up(onu, card.objects(), position) ? "true" : "false",
                  uni.has_link ? "true" : "false", uni.has_loop ? "true" : "false") +
           "\"upstream\": " + counts_json(uni.total[0]) + ", \"downstream\": " + counts_json(uni.total[1]) +
           ", \"settings\": " +
           card_record_json(*find_card_message(RM_UNI)->record, settings_bytes(card, onu, position)) +
           ", \"vlans\": " +
           (vlans ? card_record_json(*find_card_message(RM_UNI_VLAN)->record, *vlans) : std::string("null")) +
           "}";
}

std::string uni_line(const Card& card, const Onu& onu, const UniPosition& position) {
    const Uni uni = uni_of_onu(onu, position);
    const auto settings = uni_settings(onu, card.objects(), position);
    const auto* vlans = vlans_of(card, onu, position);
    const uint32_t mode = vlans ? get_be32(*vlans, offsetof(ov_gpon_rmuni_vlan_attr_t, vlanMode)) : 0;
    return format(
        "uni=%s up=%d admin=%d link=%d loop=%d pm=%u vlan-mode=%u up-packets=%llu down-packets=%llu",
        uni_text(position).c_str(), uni_is_up(onu, card.objects(), position) ? 1 : 0,
        static_cast<int>(settings.adminStatus), uni.has_link ? 1 : 0, uni.has_loop ? 1 : 0,
        static_cast<unsigned>(settings.pmEnabled), mode,
        static_cast<unsigned long long>(uni.total[0].packets),
        static_cast<unsigned long long>(uni.total[1].packets));
}

} // namespace

std::vector<std::string> onu_details(const Card& card, const Onu& onu) {
    std::vector<std::string> lines{onu_line(onu) + format(" reboots=%u mib-syncs=%u restores=%u", onu.reboots,
                                                          onu.mib_syncs, onu.restores)};
    for (const UniPosition& uni : shown_unis(card, onu))
        lines.push_back(uni_line(card, onu, uni));
    const auto counters = pm_lines(card, onu.index);
    lines.insert(lines.end(), counters.begin(), counters.end());
    const auto home = home_lines(card, onu);
    lines.insert(lines.end(), home.begin(), home.end());
    return lines;
}

std::vector<std::string> onu_details_json(const Card& card, const Onu& onu) {
    std::vector<std::string> lines{
        format(
            R"({"serial": %s, "state": "%s", "ifindex": %u, "reboots": %u, "mib_syncs": %u, "restores": %u, )",
            json_string(onu_serial_text(onu.serial)).c_str(), onu_state_name(onu.state), onu.index,
            onu.reboots, onu.mib_syncs, onu.restores) +
        "\"unis\": ["};
    const auto unis = shown_unis(card, onu);
    size_t left = unis.size();
    for (const UniPosition& uni : unis)
        lines.push_back(uni_json(card, onu, uni) + (--left ? "," : ""));
    lines.push_back("], \"counters\": " + pm_json(card, onu.index));
    for (const std::string& member : home_json(card, onu))
        lines.push_back(", " + member);
    lines.push_back("}");
    return lines;
}
