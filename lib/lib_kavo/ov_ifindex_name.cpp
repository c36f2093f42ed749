#include "ov_ifindex_name.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "ov_name_scan.h"
#include "ov_product_log.h"

namespace {

// Words of the UNI kinds, in the order in which a name is searched for them.
constexpr std::array<const char*, 4> UNI_WORDS = {"eth", "pots", "veip", "video"};
static_assert(OV_UNI_ETH == 0 && OV_UNI_POTS == 1 && OV_UNI_VEIP == 2 && OV_UNI_VIDEO == 3);

// Prints a name with one character less than would fit: the controller's names have that length too.
__attribute__((format(printf, 3, 4))) char* print_name(char* name, uint32_t max_len, const char* fmt, ...) {
    if (name == nullptr) {
        OV_LOG_ERROR("LIB", "ifname str is NULL.");
        return nullptr;
    }
    if (max_len < 2)
        return nullptr;
    va_list args;
    va_start(args, fmt);
    vsnprintf(name, max_len - 1, fmt, args);
    va_end(args);
    return name;
}

// The fields of an index as text needs them.
struct Position {
    explicit Position(ov_ifindex_t ifindex)
        : prefix(ov_port_type_text(ov_ifindex_get_port_type(ifindex))),
          slot(int(ov_ifindex_get_slot_id(ifindex))), port(int(ov_ifindex_get_port_id(ifindex))),
          subport(int(ov_ifindex_get_subport_id(ifindex))) {}

    const char* prefix;
    int slot;
    int port;
    int subport;
};

// What a parsed name may hold, with the defaults of what it doesn't.
struct ParsedName {
    static constexpr uint8_t SHELF = 1;
    static constexpr uint8_t CARD = 0;
    int slot = 1;
    int port = 0;
    int subport = 0;
    int extend1 = 0;
    int extend3 = 0;

    ov_ifindex_t phy_index(uint16_t port_type) const {
        return ov_ifindex_gen_by_phyinfo(port_type, SHELF, uint8_t(slot), CARD, uint16_t(port),
                                         uint16_t(subport));
    }
    ov_ifindex_t extend_index(uint16_t port_type, uint16_t extend2) const {
        return ov_ifindex_gen_by_extendinfo(port_type, SHELF, uint8_t(slot), CARD, uint16_t(port),
                                            uint16_t(subport), uint16_t(extend1), extend2, uint16_t(extend3));
    }
};

// The text behind the kind's prefix, or null when there is none.
const char* behind_prefix(uint16_t port_type, const char* name) {
    if (name == nullptr || *name == '\0') {
        OV_LOG_ERROR("LIB", "ifname str is NULL.");
        return nullptr;
    }
    size_t prefix_len = strlen(ov_port_type_text(port_type));
    return strlen(name) > prefix_len ? name + prefix_len : nullptr;
}

// GEM and service port names have one form: "S/P:O_N".
ov_ifindex_t gen_by_onu_extend_name(uint16_t port_type, const char* name) {
    const char* text = behind_prefix(port_type, name);
    if (text == nullptr)
        return OV_IFINDEX_INVALID;
    ParsedName parsed;
    ov_name_scan(text, "%d/%d:%d_%d", {&parsed.slot, &parsed.port, &parsed.subport, &parsed.extend1});
    return parsed.extend_index(port_type, 0);
}

char* gen_onu_extend_name(ov_ifindex_t ifindex, char* name, uint32_t max_len) {
    const Position at(ifindex);
    return print_name(name, max_len, "%s%d/%d:%d_%d", at.prefix, at.slot, at.port, at.subport,
                      int(ov_ifindex_get_extend1_id(ifindex)));
}

void log_uni(uint16_t port_type, const ParsedName& at, int kind) {
    const char* type = ov_port_type_text(port_type);
    switch (kind) {
    case OV_UNI_ETH:
        OV_LOG_DEBUG("LIB", "iftype %s, slot %d, port %d onu_id %d uni_type eth uni_card %d uni_id %d.", type,
                     at.slot, at.port, at.subport, at.extend1, at.extend3);
        break;
    case OV_UNI_POTS:
        OV_LOG_DEBUG("LIB", "iftype %s, slot %d, port %d onu_id %d uni_type pots uni_card %d uni_id %d.",
                     type, at.slot, at.port, at.subport, at.extend1, at.extend3);
        break;
    case OV_UNI_VEIP:
        OV_LOG_DEBUG("LIB", "iftype %s, slot %d, port %d onu_id %d uni_type veip uni_card %d uni_id %d.",
                     type, at.slot, at.port, at.subport, at.extend1, at.extend3);
        break;
    default:
        OV_LOG_DEBUG("LIB", "iftype %s, slot %d, port %d onu_id %d uni_type video uni_card %d uni_id %d.",
                     type, at.slot, at.port, at.subport, at.extend1, at.extend3);
        break;
    }
}

// Kind of the UNI that a name speaks of, or -1.
int uni_kind_of_name(const char* name) {
    for (size_t kind = 0; kind < UNI_WORDS.size(); kind++) {
        if (strstr(name, UNI_WORDS[kind]) != nullptr)
            return int(kind);
    }
    return -1;
}

} // namespace

const char* ov_port_type_text(uint16_t port_type) {
    return port_type < PORT_TYPE_MAX ? g_port_type_str[port_type] : g_port_type_str[PORT_TYPE_MAX];
}

uint16_t ov_port_type_of_name(const char* name) {
    const std::string_view text = name != nullptr ? name : "";
    for (uint16_t kind = 0; kind < PORT_TYPE_MAX; kind++) {
        const std::string_view prefix = g_port_type_str[kind];
        if (text.size() > prefix.size() && text.starts_with(prefix))
            return kind;
    }
    return PORT_TYPE_MAX;
}

// ---- name to index -----------------------------------------------------------------------------------

ov_ifindex_t ov_ifindex_gen_by_logic_portname(uint16_t port_type, const char* name) {
    const char* text = behind_prefix(port_type, name);
    if (text == nullptr)
        return OV_IFINDEX_INVALID;
    if (port_type == PORT_TYPE_LO)
        text++; // the colon of "lo:1"; nobody looks what stands there
    int id = 0;
    ov_name_scan(text, "%d", {&id});
    return ov_ifindex_gen_by_logicinfo(port_type, uint16_t(id));
}

ov_ifindex_t ov_ifindex_gen_by_physic_portname(uint16_t port_type, const char* name) {
    const char* text = behind_prefix(port_type, name);
    if (text == nullptr)
        return OV_IFINDEX_INVALID;
    ParsedName parsed;
    ov_name_scan(text, "%d/%d", {&parsed.slot, &parsed.port});
    return parsed.phy_index(port_type);
}

ov_ifindex_t ov_ifindex_gen_by_physic_subportname(uint16_t port_type, const char* name) {
    const char* text = behind_prefix(port_type, name);
    if (text == nullptr)
        return OV_IFINDEX_INVALID;
    ParsedName parsed;
    ov_name_scan(text, "%d/%d:%d", {&parsed.slot, &parsed.port, &parsed.subport});
    return parsed.phy_index(port_type);
}

ov_ifindex_t ov_ifindex_gen_by_gpon_onugem_name(uint16_t port_type, const char* name) {
    return gen_by_onu_extend_name(port_type, name);
}

ov_ifindex_t ov_ifindex_gen_by_gpon_onusrv_name(uint16_t port_type, const char* name) {
    return gen_by_onu_extend_name(port_type, name);
}

ov_ifindex_t ov_ifindex_gen_by_gpon_onuuni_name(uint16_t port_type, const char* name) {
    static constexpr std::array<const char*, UNI_WORDS.size()> PATTERNS = {
        "%d/%d:%d_eth_%d/%d", "%d/%d:%d_pots_%d/%d", "%d/%d:%d_veip_%d/%d", "%d/%d:%d_video_%d/%d"};
    const char* text = behind_prefix(port_type, name);
    if (text == nullptr)
        return OV_IFINDEX_INVALID;
    const int kind = uni_kind_of_name(name);
    if (kind < 0) {
        OV_LOG_ERROR("LIB", "ifname %s have unknwn uni type.", name);
        return OV_IFINDEX_INVALID;
    }
    ParsedName parsed;
    ov_name_scan(text, PATTERNS[size_t(kind)],
                 {&parsed.slot, &parsed.port, &parsed.subport, &parsed.extend1, &parsed.extend3});
    log_uni(port_type, parsed, kind);
    return parsed.extend_index(port_type, uint16_t(kind));
}

ov_ifindex_t ov_ifindex_gen_by_name(const char* ifname) {
    if (ifname == nullptr || *ifname == '\0') {
        OV_LOG_ERROR("LIB", "ifname str is NULL.");
        return OV_IFINDEX_INVALID;
    }
    const uint16_t port_type = ov_port_type_of_name(ifname);
    if (port_type == PORT_TYPE_MAX) {
        OV_LOG_ERROR("LIB", "failed to find correspond port type for %s.", ifname);
        return OV_IFINDEX_INVALID;
    }
    const ov_ifindex_profile& profile = g_ov_ifindex_profile_table[_get_ifidx_profile(port_type)];
    if (profile.pf_gen_ifindex_by_name == nullptr) {
        OV_LOG_ERROR("LIB", "failed to get generate index func for type %d profile id %d.", port_type,
                     profile.profileid);
        return OV_IFINDEX_INVALID;
    }
    return profile.pf_gen_ifindex_by_name(port_type, ifname);
}

// ---- index to name -----------------------------------------------------------------------------------

char* ov_ifindex_gen_logic_portname(ov_ifindex_t ifindex, char* name, uint32_t max_len) {
    const char* separator = ov_ifindex_get_port_type(ifindex) == PORT_TYPE_LO ? ":" : "";
    const Position at(ifindex);
    return print_name(name, max_len, "%s%s%d", at.prefix, separator, at.subport);
}

char* ov_ifindex_gen_physic_portname(ov_ifindex_t ifindex, char* name, uint32_t max_len) {
    const Position at(ifindex);
    return print_name(name, max_len, "%s%d/%d", at.prefix, at.slot, at.port);
}

char* ov_ifindex_gen_physic_subportname(ov_ifindex_t ifindex, char* name, uint32_t max_len) {
    const Position at(ifindex);
    return print_name(name, max_len, "%s%d/%d:%d", at.prefix, at.slot, at.port, at.subport);
}

char* ov_ifindex_gen_gpon_onugem_name(ov_ifindex_t ifindex, char* name, uint32_t max_len) {
    const uint16_t port_type = ov_ifindex_get_port_type(ifindex);
    if (port_type != PORT_TYPE_GEMPORT) {
        OV_LOG_ERROR("LIB", "ifindex %#x port type %d is not gem port", ifindex, port_type);
        return nullptr;
    }
    return gen_onu_extend_name(ifindex, name, max_len);
}

char* ov_ifindex_gen_gpon_onusrv_name(ov_ifindex_t ifindex, char* name, uint32_t max_len) {
    const uint16_t port_type = ov_ifindex_get_port_type(ifindex);
    if (port_type != PORT_TYPE_GPON_SERVPORT) {
        OV_LOG_ERROR("LIB", "ifindex %#x port type %d is not onu service port", ifindex, port_type);
        return nullptr;
    }
    return gen_onu_extend_name(ifindex, name, max_len);
}

char* ov_ifindex_gen_gpon_onuuni_name(ov_ifindex_t ifindex, char* name, uint32_t max_len) {
    if (ov_ifindex_get_port_type(ifindex) != PORT_TYPE_GPON_ONU_UNI)
        return nullptr;
    const Position at(ifindex);
    const int card = int(ov_ifindex_get_extend1_id(ifindex));
    const int uni = int(ov_ifindex_get_extend3_id(ifindex));
    const uint32_t kind = ov_ifindex_get_extend2_id(ifindex);
    switch (kind) {
    case OV_UNI_ETH:
        return print_name(name, max_len, "%s%d/%d:%d_eth_%d/%d", at.prefix, at.slot, at.port, at.subport,
                          card, uni);
    case OV_UNI_POTS:
        return print_name(name, max_len, "%s%d/%d:%d_pots_%d/%d", at.prefix, at.slot, at.port, at.subport,
                          card, uni);
    case OV_UNI_VEIP:
        return print_name(name, max_len, "%s%d/%d:%d_veip_%d/%d", at.prefix, at.slot, at.port, at.subport,
                          card, uni);
    case OV_UNI_VIDEO:
        return print_name(name, max_len, "%s%d/%d:%d_video_%d/%d", at.prefix, at.slot, at.port, at.subport,
                          card, uni);
    default: // two bits hold no other
        OV_LOG_ERROR("LIB", "ifindex %#x unkown uni port type %d.", ifindex, int(kind));
        return nullptr;
    }
}

char* ov_gen_ifname_by_ifindex(ov_ifindex_t ifindex, char* ifname, uint32_t name_len) {
    if (ifname == nullptr) {
        OV_LOG_ERROR("LIB", "ifname str is NULL.");
        return nullptr;
    }
    const uint16_t port_type = ov_ifindex_get_port_type(ifindex);
    const ov_ifindex_profile& profile = g_ov_ifindex_profile_table[_get_ifidx_profile(port_type)];
    if (profile.pf_gen_name_by_ifindex == nullptr) {
        OV_LOG_ERROR("LIB", "failed to get generate name func for type %d profile id %d ifindex 0x%08x.",
                     port_type, profile.profileid, ifindex);
        return nullptr;
    }
    return profile.pf_gen_name_by_ifindex(ifindex, ifname, name_len);
}

char* ov_get_ifname_by_ifindex(ov_ifindex_t ifindex) {
    static char name[20];
    return ov_gen_ifname_by_ifindex(ifindex, name, sizeof name);
}
