#include "kavo_vlan.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace {

struct VlanList {
    std::array<std::unique_ptr<uvlan_entry_t>, UVLAN_MAX + 1> vlans; // by id; element 0 stays empty
    std::bitset<UVLAN_MAX + 1> reserved;                             // given out by vlan_prealloc_vid
    std::map<ov_ifindex_t, umsg_vlan_port_t> ports;
};

VlanList& list() {
    static VlanList the_list;
    return the_list;
}

bool is_vid(uint32_t vid) {
    return vid >= UVLAN_MIN && vid <= UVLAN_MAX;
}

void set_name(uvlan_entry_t& vlan, std::string_view name) {
    memset(vlan.name, 0, sizeof(vlan.name));
    if (name.empty())
        snprintf(vlan.name, sizeof(vlan.name), "vlan%u", unsigned{vlan.vid});
    else
        name.copy(vlan.name, sizeof(vlan.name) - 1);
}

umsg_vlan_port_t* find_port(ov_ifindex_t ifindex) {
    auto at = list().ports.find(ifindex);
    return at != list().ports.end() ? &at->second : nullptr;
}

// Whether all VLANs of the set exist; a set with a reserved id (0, 4095) has one that doesn't.
bool all_exist(const uvlan_t& set) {
    for (uint32_t vid = 0; vid < sizeof(set.bits) * 8; vid++) {
        bool member = (set.bits[vid / 8] >> (vid % 8) & 1) != 0;
        if (member && vlan_get_entry(vid) == nullptr)
            return false;
    }
    return true;
}

std::optional<uint16_t> parse_vid(std::string_view text) {
    uint32_t vid = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), vid);
    if (error != std::errc() || end != text.data() + text.size() || !is_vid(vid))
        return std::nullopt;
    return uint16_t(vid);
}

} // namespace

// ---- sets of VLANs -----------------------------------------------------------------------------

bool uvlan_set_add(uvlan_t* set, uint32_t vid) {
    if (set == nullptr || !is_vid(vid))
        return false;
    set->bits[vid / 8] = uint8_t(set->bits[vid / 8] | 1u << (vid % 8));
    return true;
}

bool uvlan_set_remove(uvlan_t* set, uint32_t vid) {
    if (set == nullptr || !is_vid(vid))
        return false;
    set->bits[vid / 8] = uint8_t(set->bits[vid / 8] & ~(1u << (vid % 8)));
    return true;
}

bool uvlan_set_has(const uvlan_t* set, uint32_t vid) {
    return set != nullptr && is_vid(vid) && (set->bits[vid / 8] >> (vid % 8) & 1) != 0;
}

// ---- VLANs -------------------------------------------------------------------------------------

uint32_t uvlan_init() {
    list().vlans = {};
    list().reserved.reset();
    list().ports.clear();
    return uvlan_create(UVLAN_DEFAULT) != nullptr ? KAVO_OK : KAVO_MEMORY;
}

uvlan_entry_t* uvlan_create(uint32_t vid) {
    if (!is_vid(vid))
        return nullptr;
    std::unique_ptr<uvlan_entry_t>& slot = list().vlans[vid];
    if (!slot) {
        slot.reset(new (std::nothrow) uvlan_entry_t{uint16_t(vid), {}});
        if (!slot)
            return nullptr;
        set_name(*slot, "");
    }
    return slot.get();
}

uvlan_entry_t* vlan_get_entry(uint32_t vid) {
    return is_vid(vid) ? list().vlans[vid].get() : nullptr;
}

uint32_t vlan_set_entry(const uvlan_entry_t* entry) {
    if (entry == nullptr || !is_vid(entry->vid))
        return KAVO_PARAM;
    uvlan_entry_t* vlan = uvlan_create(entry->vid);
    if (vlan == nullptr)
        return KAVO_MEMORY;
    if (vlan != entry) // the list's own record is as it is
        set_name(*vlan, {entry->name, strnlen(entry->name, sizeof(entry->name))});
    return KAVO_OK;
}

const char* uvlan_get_name(uint32_t vid) {
    const uvlan_entry_t* vlan = vlan_get_entry(vid);
    return vlan != nullptr ? vlan->name : "unknown";
}

uint16_t vlan_prealloc_vid() {
    for (uint32_t vid = UVLAN_MIN; vid <= UVLAN_MAX; vid++) {
        if (list().vlans[vid] || list().reserved[vid])
            continue;
        list().reserved.set(vid);
        return uint16_t(vid);
    }
    return 0;
}

uint32_t _uvlan_del(uint32_t vid) {
    if (!is_vid(vid) || vid == UVLAN_DEFAULT)
        return KAVO_PARAM;
    bool was_reserved = list().reserved[vid];
    list().reserved.reset(vid);
    if (!list().vlans[vid])
        return was_reserved ? KAVO_OK : KAVO_ERR;
    for (auto& [ifindex, port] : list().ports) {
        uvlan_set_remove(&port.uvlan, vid);
        if (port.pvid == vid)
            port.pvid = UVLAN_DEFAULT;
    }
    list().vlans[vid].reset();
    return KAVO_OK;
}

// ---- ports -------------------------------------------------------------------------------------

uint32_t uvlan_port_add(ov_ifindex_t ifindex) {
    if (ifindex == 0 || ifindex == OV_IFINDEX_INVALID)
        return KAVO_PARAM;
    umsg_vlan_port_t port{};
    port.ifindex = ifindex;
    port.pvid = UVLAN_DEFAULT;
    try {
        list().ports.try_emplace(ifindex, port);
    } catch (const std::bad_alloc&) {
        return KAVO_MEMORY;
    }
    return KAVO_OK;
}

uint32_t uvlan_port_link(const umsg_vlan_port_t* link) {
    if (link == nullptr)
        return KAVO_PARAM;
    umsg_vlan_port_t* port = find_port(link->ifindex);
    if (port == nullptr || !all_exist(link->uvlan))
        return KAVO_ERR;
    for (size_t i = 0; i < sizeof(uvlan_t); i++)
        port->uvlan.bits[i] |= link->uvlan.bits[i];
    port->tag = link->tag;
    return KAVO_OK;
}

uint32_t uvlan_port_unlink(const umsg_vlan_port_t* link) {
    if (link == nullptr)
        return KAVO_PARAM;
    umsg_vlan_port_t* port = find_port(link->ifindex);
    if (port == nullptr)
        return KAVO_ERR;
    for (size_t i = 0; i < sizeof(uvlan_t); i++)
        port->uvlan.bits[i] &= uint8_t(~link->uvlan.bits[i]);
    return KAVO_OK;
}

uint32_t uvlan_port_deinit(ov_ifindex_t ifindex) {
    list().ports.erase(ifindex);
    return KAVO_OK;
}

bool uvlan_is_in_port(ov_ifindex_t ifindex, uint32_t vid) {
    const umsg_vlan_port_t* port = find_port(ifindex);
    return port != nullptr && uvlan_set_has(&port->uvlan, vid);
}

uint32_t uvlan_set_pvid(ov_ifindex_t ifindex, uint32_t vid) {
    if (!is_vid(vid))
        return KAVO_PARAM;
    umsg_vlan_port_t* port = find_port(ifindex);
    if (port == nullptr || vlan_get_entry(vid) == nullptr)
        return KAVO_ERR;
    port->pvid = uint16_t(vid);
    return KAVO_OK;
}

const umsg_vlan_port_t* uvlan_port_get(ov_ifindex_t ifindex) {
    return find_port(ifindex);
}

// ---- command line ------------------------------------------------------------------------------

int vlan_range_match(const char* range, uint16_t* min, uint16_t* max) {
    if (range == nullptr || min == nullptr || max == nullptr)
        return 0;
    std::string_view text = range;
    size_t dash = text.find('-');
    std::optional<uint16_t> first = parse_vid(text.substr(0, dash));
    std::optional<uint16_t> last = dash == std::string_view::npos ? first : parse_vid(text.substr(dash + 1));
    if (!first || !last || *first > *last)
        return 0;
    *min = *first;
    *max = *last;
    return 1;
}
