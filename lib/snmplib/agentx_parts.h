// The parts of which a PDU of AgentX consists (RFC 2741, 5 and 6), for those who read or write one. Words are
// of either byte order, the PDU's header says which.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace agentx {

using Bytes = std::span<const uint8_t>;

inline constexpr size_t HEADER = 20;
inline constexpr uint8_t VERSION = 1;
inline constexpr uint8_t FLAG_CONTEXT = 0x08;
inline constexpr uint8_t FLAG_NETWORK_ORDER = 0x10;
inline constexpr size_t MAX_ARCS = 128;
inline constexpr size_t PREFIX_ARCS = 5;   // 1.3.6.1 and the arc that the prefix names
inline constexpr size_t SYS_UP_TIME = 4;   // of a Response, in front of its error
inline constexpr size_t RESPONSE_HEAD = 8; // sysUpTime, error, index

enum ValueType : uint16_t {
    INTEGER = 2,
    OCTET_STRING = 4,
    NULL_VALUE = 5,
    OBJECT_IDENTIFIER = 6,
    IP_ADDRESS = 64,
    COUNTER32 = 65,
    GAUGE32 = 66,
    TIME_TICKS = 67,
    OPAQUE = 68,
    COUNTER64 = 70,
    NO_SUCH_OBJECT = 128,
    NO_SUCH_INSTANCE = 129,
    END_OF_MIB_VIEW = 130,
};

inline bool is_network_order(Bytes header) {
    return (header[2] & FLAG_NETWORK_ORDER) != 0;
}

// Words of 32 bits at any address.
inline void put_word(uint8_t* to, uint32_t value, bool network_order) {
    const auto byte = [value](unsigned shift) { return static_cast<uint8_t>(value >> shift); };
    if (network_order) {
        to[0] = byte(24), to[1] = byte(16), to[2] = byte(8), to[3] = byte(0);
    } else {
        to[0] = byte(0), to[1] = byte(8), to[2] = byte(16), to[3] = byte(24);
    }
}
inline uint32_t get_word(const uint8_t* at, bool network_order) {
    return network_order ? uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3]
                         : uint32_t{at[3]} << 24 | uint32_t{at[2]} << 16 | uint32_t{at[1]} << 8 | at[0];
}

// Reads parts off the front; each is false, and the rest of no use, when it doesn't fit.
class Parts {
public:
    Parts(Bytes bytes, bool network_order) : rest_(bytes), network_order_(network_order) {}

    bool is_at_end() const { return rest_.empty(); }

    bool skip(size_t size) {
        if (size > rest_.size())
            return false;
        rest_ = rest_.subspan(size);
        return true;
    }
    bool word16(uint16_t& value) {
        const Bytes at = rest_;
        if (!skip(2))
            return false;
        value = static_cast<uint16_t>(network_order_ ? at[0] << 8 | at[1] : at[1] << 8 | at[0]);
        return true;
    }
    bool word32(uint32_t& value) {
        const Bytes at = rest_;
        if (!skip(4))
            return false;
        value = get_word(at.data(), network_order_);
        return true;
    }
    bool object_identifier() {
        const Bytes at = rest_;
        if (!skip(4))
            return false;
        const size_t arcs = at[0];
        const size_t prefix = at[1] != 0 ? PREFIX_ARCS : 0;
        return arcs + prefix <= MAX_ARCS && skip(arcs * 4);
    }
    // The same, written out: its arcs, at most MAX_ARCS, and its "include" field.
    bool object_identifier(uint32_t* arcs, size_t& size, bool& include) {
        const Bytes head = rest_;
        if (!object_identifier())
            return false;
        const uint32_t prefix[PREFIX_ARCS] = {1, 3, 6, 1, head[1]};
        size = head[1] != 0 ? PREFIX_ARCS : 0;
        std::copy_n(prefix, size, arcs);
        const uint8_t* at = head.data() + 4;
        for (const size_t end = size + head[0]; size < end; size++, at += 4)
            arcs[size] = get_word(at, network_order_);
        include = head[2] != 0;
        return true;
    }
    bool octet_string() {
        uint32_t size = 0;
        return word32(size) && size <= rest_.size() && skip((size_t{size} + 3) / 4 * 4);
    }
    bool variable() {
        uint16_t type = 0;
        return word16(type) && skip(2) && object_identifier() && value(type);
    }
    // One after the other to the end.
    bool search_ranges() {
        while (!is_at_end())
            if (!object_identifier() || !object_identifier())
                return false;
        return true;
    }
    bool variables() {
        while (!is_at_end())
            if (!variable())
                return false;
        return true;
    }

private:
    bool value(uint16_t type) {
        switch (type) {
        case INTEGER:
        case COUNTER32:
        case GAUGE32:
        case TIME_TICKS:
            return skip(4);
        case COUNTER64:
            return skip(8);
        case OCTET_STRING:
        case IP_ADDRESS:
        case OPAQUE:
            return octet_string();
        case OBJECT_IDENTIFIER:
            return object_identifier();
        case NULL_VALUE:
        case NO_SUCH_OBJECT:
        case NO_SUCH_INSTANCE:
        case END_OF_MIB_VIEW:
            return true;
        default:
            return false;
        }
    }

    Bytes rest_;
    bool network_order_;
};

} // namespace agentx
