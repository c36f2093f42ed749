// A master's request for values, Get, GetNext or GetBulk (RFC 2741, 6.2.5 to 6.2.7), and the Response to it,
// for those who answer one without the SNMP library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "agentx_pdu.h"

// The arcs of an object identifier.
using AgentxArcs = std::span<const uint32_t>;

// Negative, 0 or positive as a sorts before, with or behind b (RFC 2578, 7.1.3).
int agentx_compare(AgentxArcs a, AgentxArcs b);

// An object identifier that is kept. None, as RFC 2741 has it ("null"), is empty.
class AgentxName {
public:
    static constexpr size_t MAX_ARCS = 128;

    AgentxName() {} // NOLINT(modernize-use-equals-default): only the arcs that are used get a value
    AgentxName(const AgentxName& other) { *this = other; }
    AgentxName& operator=(const AgentxName& other) {
        if (this != &other)
            *this = other.arcs();
        return *this;
    }
    AgentxName& operator=(AgentxArcs arcs);
    // False if there is no more room.
    bool append(uint32_t arc);

    AgentxArcs arcs() const { return {arcs_.data(), size_}; }

private:
    friend class AgentxQuery;

    size_t size_ = 0;
    std::array<uint32_t, MAX_ARCS> arcs_; // NOLINT(cppcoreguidelines-pro-type-member-init)
};

// What is asked for: the variable `start` (Get), or the first behind it that is before `end`.
struct AgentxRange {
    AgentxName start;
    bool includes_start = false; // it may be `start` itself
    AgentxName end;              // empty: there is none
};

class AgentxQuery {
public:
    // More are asked for by nobody; the library takes them.
    static constexpr size_t MAX_RANGES = 128;

    // Takes a PDU; false for one that isn't such a request, or has a context, flags other than that of the
    // byte order, no ranges or too many. Any bytes.
    bool read(std::span<const uint8_t> pdu);

    const AgentxHeader& header() const { return header_; }
    bool is_network_order() const { return is_network_order_; }
    std::span<const AgentxRange> ranges() const { return {ranges_.data(), count_}; }
    // Of a GetBulk (RFC 3416, 4.2.3: non-repeaters, max-repetitions); all ranges, and 1, for the others.
    size_t unrepeated() const { return non_repeaters_; }
    size_t repetitions() const { return max_repetitions_; }

private:
    AgentxHeader header_{};
    bool is_network_order_ = false;
    std::vector<AgentxRange> ranges_; // only grows: made once
    size_t count_ = 0;
    size_t non_repeaters_ = 0;
    size_t max_repetitions_ = 0;
};

// The value of a variable, or an exception. Types are those of RFC 2741, 5.4.
struct AgentxValue {
    uint16_t type = 0;
    uint64_t number = 0;            // of a number
    std::span<const uint8_t> bytes; // of an octet string or an address
};

// The Response to a query: its variables are added in any order, and stand in the order of their slots.
class AgentxAnswer {
public:
    // For this query, with nothing in it.
    void begin(const AgentxQuery& query);
    void add(size_t slot, AgentxArcs name, const AgentxValue& value);
    // Bytes of the variables so far, whatever their slots.
    size_t size() const { return variables_.size(); }
    // The PDU with slots 0 to `slots` - 1, all of which have been added.
    void finish(size_t slots, AgentxPdu& response) const;

private:
    struct Slot {
        size_t begin;
        size_t size;
    };

    uint8_t* room(size_t size);
    void put32(uint32_t value);
    void put_name(AgentxArcs name);
    void put_value(const AgentxValue& value);

    AgentxHeader header_{};
    bool is_network_order_ = false;
    AgentxPdu variables_;
    std::vector<Slot> slots_;
};
