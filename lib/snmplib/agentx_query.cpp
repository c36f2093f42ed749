#include "agentx_query.h"

#include <algorithm>

#include "agentx_parts.h"

using namespace agentx;

namespace {

constexpr uint32_t INTERNET[] = {1, 3, 6, 1}; // in front of what a prefix names

bool is_asking(AgentxPduType type) {
    return type == AgentxPduType::GET || type == AgentxPduType::GET_NEXT || type == AgentxPduType::GET_BULK;
}

// Another way to write no name, and that of a Response: a variable has a name.
constexpr uint32_t NONE[] = {0, 0};

bool is_none(AgentxArcs name) {
    return std::equal(name.begin(), name.end(), std::begin(NONE), std::end(NONE));
}

// The arc that the prefix of a name says, 0 for a name without one.
uint32_t prefix_of(AgentxArcs name) {
    const bool is_internet =
        name.size() >= PREFIX_ARCS && std::equal(INTERNET, std::end(INTERNET), name.begin());
    return is_internet && name[PREFIX_ARCS - 1] < 256 ? name[PREFIX_ARCS - 1] : 0;
}

} // namespace

int agentx_compare(AgentxArcs a, AgentxArcs b) {
    const size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; i++)
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

AgentxName& AgentxName::operator=(AgentxArcs arcs) {
    size_ = std::min(arcs.size(), MAX_ARCS);
    std::copy_n(arcs.begin(), size_, arcs_.begin());
    return *this;
}

bool AgentxName::append(uint32_t arc) {
    if (size_ == MAX_ARCS)
        return false;
    arcs_[size_++] = arc;
    return true;
}

// ---- the query ----------------------------------------------------------------------------------------

bool AgentxQuery::read(Bytes pdu) {
    const auto header = agentx_header(pdu);
    if (!header || !is_asking(header->type) || (pdu[2] & ~FLAG_NETWORK_ORDER) != 0)
        return false;
    header_ = *header;
    is_network_order_ = agentx::is_network_order(pdu);
    Parts payload(pdu.subspan(HEADER), is_network_order_);
    uint16_t non_repeaters = UINT16_MAX;
    uint16_t max_repetitions = 1;
    if (header_.type == AgentxPduType::GET_BULK &&
        (!payload.word16(non_repeaters) || !payload.word16(max_repetitions)))
        return false;
    bool unused = false;
    for (count_ = 0; !payload.is_at_end(); count_++) {
        if (count_ == MAX_RANGES)
            return false;
        if (count_ == ranges_.size())
            ranges_.emplace_back();
        AgentxRange& range = ranges_[count_];
        if (!payload.object_identifier(range.start.arcs_.data(), range.start.size_, range.includes_start) ||
            !payload.object_identifier(range.end.arcs_.data(), range.end.size_, unused))
            return false;
        for (AgentxName* name : {&range.start, &range.end})
            name->size_ = is_none(name->arcs()) ? 0 : name->size_;
    }
    non_repeaters_ = std::min<size_t>(non_repeaters, count_);
    max_repetitions_ = max_repetitions;
    return count_ != 0;
}

// ---- the answer ---------------------------------------------------------------------------------------

void AgentxAnswer::begin(const AgentxQuery& query) {
    header_ = query.header();
    is_network_order_ = query.is_network_order();
    variables_.clear();
    slots_.clear();
}

// Room behind what is there.
uint8_t* AgentxAnswer::room(size_t size) {
    const size_t at = variables_.size();
    variables_.resize(at + size);
    return variables_.data() + at;
}

void AgentxAnswer::put32(uint32_t value) {
    put_word(room(4), value, is_network_order_);
}

void AgentxAnswer::put_name(AgentxArcs name) {
    const uint32_t prefix = prefix_of(name);
    if (prefix != 0)
        name = name.subspan(PREFIX_ARCS);
    else if (name.empty())
        name = NONE;
    const uint8_t head[] = {static_cast<uint8_t>(name.size()), static_cast<uint8_t>(prefix), 0, 0};
    uint8_t* to = std::copy(std::begin(head), std::end(head), room(sizeof head + name.size() * 4));
    for (const uint32_t arc : name) {
        put_word(to, arc, is_network_order_);
        to += 4;
    }
}

void AgentxAnswer::put_value(const AgentxValue& value) {
    switch (value.type) {
    case INTEGER:
    case COUNTER32:
    case GAUGE32:
    case TIME_TICKS:
        return put32(static_cast<uint32_t>(value.number));
    case COUNTER64: {
        const auto high = static_cast<uint32_t>(value.number >> 32);
        const auto low = static_cast<uint32_t>(value.number);
        put32(is_network_order_ ? high : low);
        return put32(is_network_order_ ? low : high);
    }
    case OCTET_STRING:
    case IP_ADDRESS:
    case OPAQUE:
        put32(static_cast<uint32_t>(value.bytes.size()));
        variables_.insert(variables_.end(), value.bytes.begin(), value.bytes.end());
        variables_.resize((variables_.size() + 3) / 4 * 4);
        return;
    default:
        return; // an exception
    }
}

void AgentxAnswer::add(size_t slot, AgentxArcs name, const AgentxValue& value) {
    if (slot >= slots_.size())
        slots_.resize(slot + 1);
    const size_t begin = variables_.size();
    uint8_t* type = room(4); // and two bytes of nothing
    type[is_network_order_ ? 1 : 0] = static_cast<uint8_t>(value.type);
    type[is_network_order_ ? 0 : 1] = static_cast<uint8_t>(value.type >> 8);
    put_name(name);
    put_value(value);
    slots_[slot] = {.begin = begin, .size = variables_.size() - begin};
}

void AgentxAnswer::finish(size_t slots, AgentxPdu& response) const {
    size_t payload = RESPONSE_HEAD;
    for (size_t i = 0; i < slots; i++)
        payload += slots_[i].size;
    response.assign(HEADER + RESPONSE_HEAD, 0); // no error
    response[0] = VERSION;
    response[1] = static_cast<uint8_t>(AgentxPduType::RESPONSE);
    response[2] = is_network_order_ ? FLAG_NETWORK_ORDER : 0;
    uint8_t* to = response.data() + 4;
    for (const uint32_t word :
         {header_.session, header_.transaction, header_.packet, static_cast<uint32_t>(payload)}) {
        put_word(to, word, is_network_order_);
        to += 4;
    }
    for (size_t i = 0; i < slots; i++) {
        const auto* from = variables_.data() + slots_[i].begin;
        response.insert(response.end(), from, from + slots_[i].size);
    }
}
