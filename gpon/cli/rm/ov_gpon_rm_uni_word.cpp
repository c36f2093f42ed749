#include "ov_gpon_rm_uni_word.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "kavo_cmd.h"
#include "kavo_vlan.h"
#include "ov_refusal.h"

namespace {

// Words with numbers: "eth_1/2".
struct NumberedUni {
    std::string_view prefix;
    ov_gpon_rmuni_type_t type;
    const char* called; // in the line that refuses a bad form
};
constexpr NumberedUni NUMBERED[] = {
    {"eth_", OV_GPON_RMUNI_TYPE_ETH, "ETHUNI"},
    {"video_", OV_GPON_RMUNI_TYPE_VIDEO, "VIDEO"},
    {"pots_", OV_GPON_RMUNI_TYPE_POTS, "POTS"},
};

// The only ones of their kind, on card 1, port 1.
struct SingleUni {
    std::string_view word;
    ov_gpon_rmuni_type_t type;
};
constexpr SingleUni SINGLE[] = {{"veip", OV_GPON_RMUNI_TYPE_VEIP}, {"iphost", OV_GPON_RMUNI_TYPE_IPHOST}};

// Two numbers, and nothing else, with a character between them.
template <typename Number>
struct Pair {
    Number first;
    Number second;
};
template <typename Number>
std::optional<Pair<Number>> pair_of(std::string_view text, char between) {
    Pair<Number> pair{};
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, pair.first);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != between)
        return {};
    const auto second = std::from_chars(first.ptr + 1, end, pair.second);
    if (second.ec != std::errc() || second.ptr != end)
        return {};
    return pair;
}

int bad_form(struct vty* vty, const char* what, const char* word) {
    vty_out(vty, "%%Bad format %s %s%s", what, word, kavo_newline(vty));
    ov_refusal_because("\"%s\" isn't eth_CARD/PORT, pots_CARD/PORT, video_CARD/PORT, veip or iphost", word);
    return KAVO_CLI_FAILED;
}

// Refuses a list, which counts 0 then.
size_t refuse_count(struct vty* vty) {
    vty_out(vty, "%%Bad parameter, count over 12%s", kavo_newline(vty));
    ov_refusal_because("a UNI takes at most %zu VLANs", GPON_RM_UNI_VLANS);
    return 0;
}

bool is_vlan(uint16_t vlan) {
    return vlan >= UVLAN_MIN && vlan <= UVLAN_MAX;
}

} // namespace

int ov_gpon_rm_uni_pos_parse(struct vty* vty, const char* pos, ov_gpon_rmuni_type_t* type, uint32_t* card,
                             uint32_t* port) {
    const std::string_view word = pos;
    for (const SingleUni& uni : SINGLE) {
        if (word != uni.word)
            continue;
        *type = uni.type;
        *card = *port = 1;
        return 0;
    }
    for (const NumberedUni& uni : NUMBERED) {
        if (!word.starts_with(uni.prefix))
            continue;
        const auto numbers = pair_of<uint32_t>(word.substr(uni.prefix.size()), '/');
        if (!numbers)
            return bad_form(vty, uni.called, pos);
        *type = uni.type;
        *card = numbers->first;
        *port = numbers->second;
        return 0;
    }
    return bad_form(vty, "ONU interface", pos);
}

const char* ov_gpon_rm_cli_uni_pos_str(uint32_t card, uint32_t port, int portype) {
    static char text[32];
    text[0] = '\0';
    for (const SingleUni& uni : SINGLE)
        if (portype == uni.type && card == 1 && port == 1)
            snprintf(text, sizeof text, "%s", uni.word.data());
    for (const NumberedUni& uni : NUMBERED)
        if (portype == uni.type)
            snprintf(text, sizeof text, "%s%u/%u", uni.prefix.data(), card, port);
    return text;
}

size_t ov_gpon_rm_cli_uni_vlanlist_parse(struct vty* vty, std::span<const char* const> words,
                                         gpon_rm_uni_vlans_t& vlans) {
    size_t count = 0;
    vlans = {};
    for (const char* const word : words) {
        uint16_t first = 0;
        uint16_t last = 0;
        if (vlan_range_match(word, &first, &last) == 0) {
            vty_out(vty, "%% Invalid vlan id or range!%s", kavo_newline(vty));
            ov_refusal_because("\"%s\" isn't a VLAN from 1 to 4094, or a range of them", word);
            return 0;
        }
        if (count + (last - first) >= vlans.size())
            return refuse_count(vty);
        for (uint32_t vlan = first; vlan <= last; vlan++)
            vlans[count++] = static_cast<uint16_t>(vlan);
    }
    return count;
}

size_t gpon_rm_uni_xlatelist_parse(struct vty* vty, std::span<const char* const> words,
                                   gpon_rm_uni_vlans_t& users, gpon_rm_uni_vlans_t& networks) {
    size_t count = 0;
    users = networks = {};
    for (const char* const word : words) {
        const auto pair = pair_of<uint16_t>(word, ':');
        if (!pair || !is_vlan(pair->first) || !is_vlan(pair->second)) {
            vty_out(vty, "%%Bad VLAN format %s%s", word, kavo_newline(vty));
            ov_refusal_because("\"%s\" isn't two VLANs from 1 to 4094 as in 10:100", word);
            return 0;
        }
        if (count >= users.size())
            return refuse_count(vty);
        users[count] = pair->first;
        networks[count++] = pair->second;
    }
    return count;
}

std::string gpon_rm_vlans_text(const gpon_rm_uni_vlans_t& vlans) {
    std::string text;
    for (const uint16_t vlan : vlans)
        if (vlan != 0)
            text += (text.empty() ? "" : " ") + std::to_string(vlan);
    return text;
}

std::string gpon_rm_xlates_text(const gpon_rm_uni_vlans_t& users, const gpon_rm_uni_vlans_t& networks) {
    std::string text;
    for (size_t i = 0; i < users.size(); i++)
        if (users[i] != 0 || networks[i] != 0)
            text += (text.empty() ? "" : " ") + std::to_string(users[i]) + ":" + std::to_string(networks[i]);
    return text;
}
