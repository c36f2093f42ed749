#include "agentx_pdu.h"

#include <algorithm>
#include <utility>

#include "agentx_parts.h"

using namespace agentx;

namespace {

bool payload_is_sound(uint8_t type, Parts payload) {
    using enum AgentxPduType;
    switch (AgentxPduType(type)) {
    case CLOSE:
        return payload.skip(4) && payload.is_at_end();
    case GET:
    case GET_NEXT:
        return payload.search_ranges();
    case GET_BULK:
        return payload.skip(4) && payload.search_ranges();
    case TEST_SET:
        return payload.variables();
    case COMMIT_SET:
    case UNDO_SET:
    case CLEANUP_SET:
        return payload.is_at_end();
    case RESPONSE:
        return payload.skip(RESPONSE_HEAD) && payload.variables();
    default:
        return false;
    }
}

// Bytes of the PDU with this header, 0 for one that can't be.
size_t size_told(Bytes header) {
    uint32_t payload = 0;
    Parts(header.subspan(HEADER - 4), is_network_order(header)).word32(payload);
    const bool can_be = header[0] == VERSION && payload % 4 == 0 && payload <= AgentxGate::MAX_PDU - HEADER;
    return can_be ? HEADER + payload : 0;
}

void put_word32(AgentxPdu& to, uint32_t value) {
    for (const int shift : {24, 16, 8, 0})
        to.push_back(static_cast<uint8_t>(value >> shift));
}

AgentxPdu make_pdu(const AgentxHeader& header, Bytes payload) {
    AgentxPdu pdu = {VERSION, static_cast<uint8_t>(header.type), FLAG_NETWORK_ORDER, 0};
    for (const uint32_t word :
         {header.session, header.transaction, header.packet, static_cast<uint32_t>(payload.size())})
        put_word32(pdu, word);
    pdu.insert(pdu.end(), payload.begin(), payload.end());
    return pdu;
}

} // namespace

std::optional<AgentxHeader> agentx_header(Bytes pdu) {
    if (pdu.size() < HEADER)
        return std::nullopt;
    AgentxHeader header = {.type = AgentxPduType(pdu[1]), .session = 0, .transaction = 0, .packet = 0};
    Parts words(pdu.subspan(4), is_network_order(pdu));
    for (uint32_t* word : {&header.session, &header.transaction, &header.packet})
        words.word32(*word);
    return header;
}

unsigned agentx_response_error(Bytes response) {
    uint16_t error = 0;
    Parts payload(response.subspan(std::min(response.size(), HEADER + SYS_UP_TIME)),
                  !response.empty() && is_network_order(response));
    payload.word16(error);
    return error;
}

AgentxPdu agentx_make_open(uint32_t packet, std::string_view description) {
    AgentxPdu payload(8); // o.timeout, o.id
    put_word32(payload, static_cast<uint32_t>(description.size()));
    payload.insert(payload.end(), description.begin(), description.end());
    payload.resize((payload.size() + 3) / 4 * 4);
    return make_pdu({.type = AgentxPduType::OPEN, .session = 0, .transaction = 0, .packet = packet}, payload);
}

AgentxPdu agentx_make_response(const AgentxHeader& request) {
    AgentxHeader header = request;
    header.type = AgentxPduType::RESPONSE;
    return make_pdu(header, AgentxPdu(RESPONSE_HEAD));
}

bool agentx_pdu_is_sound(Bytes pdu) {
    if (pdu.size() < HEADER || size_told(pdu) != pdu.size())
        return false;
    Parts payload(pdu.subspan(HEADER), is_network_order(pdu));
    const bool has_context = (pdu[2] & FLAG_CONTEXT) != 0;
    return (!has_context || payload.octet_string()) && payload_is_sound(pdu[1], payload);
}

size_t AgentxGate::missing() const {
    return (begun_.size() < HEADER ? HEADER : size_told(begun_)) - begun_.size();
}

bool AgentxGate::pass(Bytes piece) {
    while (!piece.empty()) {
        const size_t take = std::min(missing(), piece.size());
        begun_.insert(begun_.end(), piece.begin(), piece.begin() + static_cast<ptrdiff_t>(take));
        piece = piece.subspan(take);
        if (begun_.size() < HEADER)
            return true;
        const size_t whole = size_told(begun_);
        if (whole == 0)
            return false;
        if (begun_.size() < whole)
            continue;
        if (!agentx_pdu_is_sound(begun_))
            return false;
        ended_.push_back(std::exchange(begun_, {}));
    }
    return true;
}

std::optional<AgentxPdu> AgentxGate::next() {
    if (ended_.empty())
        return std::nullopt;
    AgentxPdu pdu = std::move(ended_.front());
    ended_.pop_front();
    return pdu;
}
