#include "ov_ifindex.h"

#include <array>
#include <cstdarg>
#include <cstdio>

#include "ov_ifindex_name.h"
#include "ov_product_log.h"

const char* const g_port_type_str[16] = {
    "fabric", "fe",       "ge",       "xe",       "ce",       "trunk",    "vlanif", "lo",
    "eth",    "gpon-olt", "gpon-onu", "gpon-gem", "gpon-srv", "gpon-uni", "eth",    "invalid",
};

// clang-format off
constexpr ov_ifindex_profile g_ov_ifindex_profile_table[OV_IFIDX_PROFILE_MAX] = {
//   profile                       kind  1  2  3   4   5  6  7  8   stored minus 1:  1  2  3  4  5  6  7  8
    {OV_IFIDX_PROFILE_INVALID,         5, 0, 0, 0, 27,  0, 0, 0, 0,                   0, 0, 0, 0, 0, 0, 0, 0,
     nullptr, nullptr},
    {OV_IFIDX_PROFILE_LOGIC,           5, 1, 5, 2,  4, 15, 0, 0, 0,                   0, 0, 0, 0, 0, 0, 0, 0,
     ov_ifindex_gen_by_logic_portname, ov_ifindex_gen_logic_portname},
    {OV_IFIDX_PROFILE_PHY_PORT,        5, 1, 5, 2,  4,  8, 7, 0, 0,                   0, 0, 0, 1, 0, 0, 0, 0,
     ov_ifindex_gen_by_physic_portname, ov_ifindex_gen_physic_portname},
    {OV_IFIDX_PROFILE_PHY_SUBPORT,     5, 1, 5, 2,  4,  8, 7, 0, 0,                   0, 0, 0, 1, 1, 0, 0, 0,
     ov_ifindex_gen_by_physic_subportname, ov_ifindex_gen_physic_subportname},
    {OV_IFIDX_PROFILE_PON_ONU_GEM,     5, 1, 5, 2,  4,  8, 7, 0, 0,                   0, 0, 0, 1, 1, 1, 0, 0,
     ov_ifindex_gen_by_gpon_onugem_name, ov_ifindex_gen_gpon_onugem_name},
    {OV_IFIDX_PROFILE_PON_ONU_SRVPORT, 5, 1, 5, 2,  4,  8, 7, 0, 0,                   0, 0, 0, 1, 1, 1, 0, 0,
     ov_ifindex_gen_by_gpon_onusrv_name, ov_ifindex_gen_gpon_onusrv_name},
    {OV_IFIDX_PROFILE_PON_ONU_UNI,     5, 1, 5, 2,  4,  8, 2, 2, 3,                   0, 0, 0, 1, 1, 1, 0, 1,
     ov_ifindex_gen_by_gpon_onuuni_name, ov_ifindex_gen_gpon_onuuni_name},
};

namespace {

// ---- field codecs, worked out of the profile table at compile time -----------------------------------

enum Field { SHELF, SLOT, CARD, PORT, SUBPORT, EXTEND1, EXTEND2, EXTEND3, FIELD_COUNT };

constexpr unsigned KIND_BITS = 5;
constexpr unsigned KIND_OFFSET = 32 - KIND_BITS;
constexpr unsigned KIND_COUNT = 1u << KIND_BITS;

struct FieldCodec {
    uint32_t mask;  // of the field at bit 0; 0 for a field the profile doesn't have
    uint8_t offset; // of its lowest bit
    uint8_t bias;   // what users count more than what is stored
};

using ProfileCodec = std::array<FieldCodec, FIELD_COUNT>;

consteval ProfileCodec codec_of(const ov_ifindex_profile& profile) {
    const std::array<uint8_t, FIELD_COUNT> bits = {
        profile.bits_field1, profile.bits_field2, profile.bits_field3, profile.bits_field4,
        profile.bits_field5, profile.bits_field6, profile.bits_field7, profile.bits_field8,
    };
    const std::array<uint8_t, FIELD_COUNT> bias = {
        profile.field1_0_used, profile.field2_0_used, profile.field3_0_used, profile.field4_0_used,
        profile.field5_0_used, profile.field6_0_used, profile.field7_0_used, profile.field8_0_used,
    };
    ProfileCodec codec{};
    unsigned offset = 0;
    for (size_t field = FIELD_COUNT; field-- > 0; offset += bits[field])
        codec[field] = {(1u << bits[field]) - 1, uint8_t(offset), bias[field]};
    if (profile.bits_type != KIND_BITS || offset != KIND_OFFSET)
        throw "the fields of a profile must fill the word";
    return codec;
}

constexpr std::array<ProfileCodec, OV_IFIDX_PROFILE_MAX> PROFILE_CODECS = {
    codec_of(g_ov_ifindex_profile_table[0]), codec_of(g_ov_ifindex_profile_table[1]),
    codec_of(g_ov_ifindex_profile_table[2]), codec_of(g_ov_ifindex_profile_table[3]),
    codec_of(g_ov_ifindex_profile_table[4]), codec_of(g_ov_ifindex_profile_table[5]),
    codec_of(g_ov_ifindex_profile_table[6]),
};

constexpr ov_ifindex_profile_type profile_of_kind(unsigned kind) {
    switch (kind) {
    case PORT_TYPE_FABRIC:
    case PORT_TYPE_TRUNK:
    case PORT_TYPE_VLANIF:
    case PORT_TYPE_LO:
    case PORT_TYPE_ETH:
    case PORT_TYPE_MGMT:
        return OV_IFIDX_PROFILE_LOGIC;
    case PORT_TYPE_FE:
    case PORT_TYPE_GE:
    case PORT_TYPE_XE:
    case PORT_TYPE_CE:
    case PORT_TYPE_GPON:
        return OV_IFIDX_PROFILE_PHY_PORT;
    case PORT_TYPE_GONU:
        return OV_IFIDX_PROFILE_PHY_SUBPORT;
    case PORT_TYPE_GEMPORT:
        return OV_IFIDX_PROFILE_PON_ONU_GEM;
    case PORT_TYPE_GPON_SERVPORT:
        return OV_IFIDX_PROFILE_PON_ONU_SRVPORT;
    case PORT_TYPE_GPON_ONU_UNI:
        return OV_IFIDX_PROFILE_PON_ONU_UNI;
    default:
        return OV_IFIDX_PROFILE_INVALID;
    }
}

constexpr std::array<ov_ifindex_profile_type, KIND_COUNT> PROFILE_OF_KIND = [] {
    std::array<ov_ifindex_profile_type, KIND_COUNT> table{};
    for (unsigned kind = 0; kind < KIND_COUNT; kind++)
        table[kind] = profile_of_kind(kind);
    return table;
}();

// ---- getting and building ----------------------------------------------------------------------------

// What the log calls each field; the card is told as a slot, and the extends share one word, since log
// filters look for these lines.
constexpr std::array<const char*, FIELD_COUNT> FIELD_WORDS = {
    "shelf", "slot", "slot", "port", "subport", "extend1", "extend1", "extend1",
};

// Out of the getters' way, which must stay short.
[[gnu::noinline, gnu::cold]] uint32_t missing_field(uint16_t kind, Field field) {
    OV_LOG_ERROR("LIB", "PORT TYPE %d do not have %s information", kind, FIELD_WORDS[field]);
    return 0;
}

const ProfileCodec& codec_of_index(ov_ifindex_t ifindex) {
    return PROFILE_CODECS[PROFILE_OF_KIND[ifindex >> KIND_OFFSET]];
}

uint32_t get_field(ov_ifindex_t ifindex, Field field) {
    const FieldCodec& codec = codec_of_index(ifindex)[field];
    if (codec.mask == 0)
        return missing_field(ov_ifindex_get_port_type(ifindex), field);
    return ((ifindex >> codec.offset) & codec.mask) + codec.bias;
}

// Sets the fields of one index in turn. Setting is an XOR: over a 0 it stores, over anything else it
// combines, which the two generators that start from an existing index are known for.
class Builder {
public:
    Builder(uint16_t kind, ov_ifindex_t start = 0)
        : codec_(PROFILE_CODECS[_get_ifidx_profile(kind)]), index_(start ^ (uint32_t(kind) << KIND_OFFSET)) {}

    // As stored.
    Builder& raw(Field field, uint16_t value) {
        index_ ^= (value & codec_[field].mask) << codec_[field].offset;
        return *this;
    }
    // As users count.
    Builder& user(Field field, uint16_t value) { return raw(field, uint16_t(value - codec_[field].bias)); }

    Builder& position(uint8_t shelf, uint8_t slot, uint8_t card, uint16_t port, uint16_t subport) {
        return raw(SHELF, shelf).raw(SLOT, slot).raw(CARD, card).user(PORT, port).user(SUBPORT, subport);
    }
    Builder& extends(uint16_t extend1, uint16_t extend2, uint16_t extend3) {
        return user(EXTEND1, extend1).user(EXTEND2, extend2).user(EXTEND3, extend3);
    }
    ov_ifindex_t index() const { return index_; }

private:
    const ProfileCodec& codec_;
    ov_ifindex_t index_;
};

ov_ifindex_t unmasked_logic_index(uint16_t kind, uint16_t id) {
    return (uint32_t(kind) << KIND_OFFSET) | id;
}

// Whether a field of these dimensions holds anything; complains about an impossible length.
bool is_field(uint8_t field_len, uint8_t field_offset) {
    if (field_len > 32)
        printf("bad filed_len %d", field_len);
    return field_len >= 1 && field_len <= 32 && field_offset < 32;
}

uint32_t low_bits(uint8_t count) {
    return count < 32 ? (1u << count) - 1 : UINT32_MAX;
}

// Appends to the text of a buffer; what doesn't fit is cut.
class TextBuffer {
public:
    TextBuffer(char* buffer, size_t size) : buffer_(buffer), size_(size) { buffer[0] = '\0'; }

    __attribute__((format(printf, 2, 3))) void add(const char* fmt, ...) {
        va_list args;
        va_start(args, fmt);
        int written = vsnprintf(buffer_ + used_, size_ - used_, fmt, args);
        va_end(args);
        if (written > 0)
            used_ = used_ + size_t(written) < size_ ? used_ + size_t(written) : size_ - 1;
    }

private:
    char* buffer_;
    size_t size_;
    size_t used_ = 0;
};

} // namespace

// ---- generators --------------------------------------------------------------------------------------

ov_ifindex_profile_type _get_ifidx_profile(uint16_t port_type) {
    return port_type < KIND_COUNT ? PROFILE_OF_KIND[port_type] : OV_IFIDX_PROFILE_INVALID;
}

ov_ifindex_t ov_ifindex_gen_by_vlan_id(uint16_t vlanid) {
    return unmasked_logic_index(PORT_TYPE_VLANIF, vlanid);
}

ov_ifindex_t ov_ifindex_gen_by_trunk_id(uint16_t trunkid) {
    return unmasked_logic_index(PORT_TYPE_TRUNK, trunkid);
}

ov_ifindex_t ov_ifindex_gen_by_loopback_id(uint16_t loopback) {
    return unmasked_logic_index(PORT_TYPE_LO, loopback);
}

ov_ifindex_t ov_ifindex_gen_by_logicinfo(uint16_t iftype, uint16_t logic_port) {
    return Builder(iftype).raw(SUBPORT, logic_port).index();
}

ov_ifindex_t ov_ifindex_gen_by_phyinfo(uint16_t iftype, uint8_t shelf, uint8_t slot, uint8_t card,
                                       uint16_t port, uint16_t subport) {
    return Builder(iftype).position(shelf, slot, card, port, subport).index();
}

ov_ifindex_t ov_ifindex_gen_by_extendinfo(uint16_t iftype, uint8_t shelf, uint8_t slot, uint8_t card,
                                          uint16_t port, uint16_t subport, uint16_t extend1, uint16_t extend2,
                                          uint16_t extend3) {
    return Builder(iftype)
        .position(shelf, slot, card, port, subport)
        .extends(extend1, extend2, extend3)
        .index();
}

ov_ifindex_t ov_ifindex_gen_by_subport_id(uint16_t iftype, ov_ifindex_t port_ifindex, uint16_t subport) {
    return Builder(iftype, port_ifindex).user(SUBPORT, subport).index();
}

ov_ifindex_t ov_ifindex_gen_by_subport_extendid(uint16_t iftype, ov_ifindex_t subport_ifindex,
                                                uint16_t extend1, uint16_t extend2, uint16_t extend3) {
    return Builder(iftype, subport_ifindex).extends(extend1, extend2, extend3).index();
}

// ---- getters -----------------------------------------------------------------------------------------

uint16_t ov_ifindex_get_port_type(ov_ifindex_t ifindex) {
    return uint16_t(ifindex >> KIND_OFFSET);
}

uint32_t ov_ifindex_get_shelf_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, SHELF);
}

uint32_t ov_ifindex_get_slot_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, SLOT);
}

uint32_t ov_ifindex_get_card_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, CARD);
}

uint32_t ov_ifindex_get_port_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, PORT);
}

uint32_t ov_ifindex_get_subport_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, SUBPORT);
}

uint32_t ov_ifindex_get_extend1_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, EXTEND1);
}

uint32_t ov_ifindex_get_extend2_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, EXTEND2);
}

uint32_t ov_ifindex_get_extend3_id(ov_ifindex_t ifindex) {
    return get_field(ifindex, EXTEND3);
}

uint16_t ov_ifindex_get_vlan_id(ov_ifindex_t ifindex) {
    return uint16_t(get_field(ifindex, SUBPORT));
}

uint16_t ov_ifindex_get_trunk_id(ov_ifindex_t ifindex) {
    return uint16_t(get_field(ifindex, SUBPORT));
}

uint16_t ov_ifindex_get_loopback_id(ov_ifindex_t ifindex) {
    return uint16_t(get_field(ifindex, SUBPORT));
}

uint16_t ov_ifindex_get_eth_id(ov_ifindex_t ifindex) {
    return uint16_t(get_field(ifindex, SUBPORT));
}

uint16_t ov_ifindex_get_fabric_port_id(ov_ifindex_t ifindex) {
    return uint16_t(get_field(ifindex, SUBPORT));
}

// ---- low-level pair ----------------------------------------------------------------------------------

uint32_t _get_int32_field(uint32_t index, uint8_t field_len, uint8_t field_offset) {
    if (!is_field(field_len, field_offset))
        return 0;
    return (index >> field_offset) & low_bits(field_len);
}

uint32_t _set_int32_field(uint32_t index, uint32_t newvalue, uint8_t field_len, uint8_t field_offset) {
    if (!is_field(field_len, field_offset))
        return index;
    return index ^ ((newvalue & low_bits(field_len)) << field_offset);
}

// ---- debugging text ----------------------------------------------------------------------------------

const char* ov_get_detail_by_ifindex(ov_ifindex_t ifindex) {
    static char detail[8192];
    constexpr std::array<const char*, FIELD_COUNT> labels = {
        nullptr, "slot", "card", "port", "sub-port/logic-port", "extend1", "extend2", "extend3",
    };
    const ProfileCodec& codec = codec_of_index(ifindex);
    const uint16_t kind = ov_ifindex_get_port_type(ifindex);

    TextBuffer text(detail, sizeof detail);
    if (codec[SHELF].mask != 0)
        text.add("type %s[%d]", ov_port_type_text(kind), kind);
    for (int field = SLOT; field < FIELD_COUNT; field++) {
        if (codec[field].mask != 0)
            text.add("%s [%d]", labels[field], int(get_field(ifindex, Field(field))));
    }
    return detail;
}
