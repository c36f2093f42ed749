// What a master agent sends, looked at before the SNMP library gets it.
//
// The library trusts its master: an object identifier with more arcs than it has room for overwrites its
// memory. So each PDU (RFC 2741, 6) is checked as a whole, and the connection ends with the first that isn't
// one: behind it nothing on the stream can be trusted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

using AgentxPdu = std::vector<uint8_t>;

enum class AgentxPduType : uint8_t {
    OPEN = 1,
    CLOSE = 2,
    REGISTER = 3,
    GET = 5,
    GET_NEXT = 6,
    GET_BULK = 7,
    TEST_SET = 8,
    COMMIT_SET = 9,
    UNDO_SET = 10,
    CLEANUP_SET = 11,
    NOTIFY = 12,
    PING = 13,
    RESPONSE = 18,
};

// What the header of a PDU says; nothing for fewer bytes than it has.
struct AgentxHeader {
    AgentxPduType type;
    uint32_t session;
    uint32_t transaction;
    uint32_t packet;
};
std::optional<AgentxHeader> agentx_header(std::span<const uint8_t> pdu);

// The error of a sound Response (RFC 2741, 6.2.16: res.error), 0 for none.
unsigned agentx_response_error(std::span<const uint8_t> response);

// An Open without a limit of its own for answers, of a subagent with this description.
AgentxPdu agentx_make_open(uint32_t packet, std::string_view description);
// The Response to a request that says that all is well.
AgentxPdu agentx_make_response(const AgentxHeader& request);

// Whether these bytes are one PDU that a master may send to a subagent: a Close, a request or a Response, all
// of whose parts end where it does. Object identifiers have 128 arcs at most (RFC 2741, 5.1).
bool agentx_pdu_is_sound(std::span<const uint8_t> pdu);

// Takes a stream in the pieces in which it arrives. One for each connection.
class AgentxGate {
public:
    // A longer PDU is refused by its header.
    static constexpr size_t MAX_PDU = size_t{1} << 20;

    // Whether every PDU that ends in this piece is sound. After a refusal the stream is of no use; the PDUs
    // before stay.
    bool pass(std::span<const uint8_t> piece);
    // The next PDU that has ended.
    std::optional<AgentxPdu> next();

private:
    size_t missing() const;

    AgentxPdu begun_; // of the PDU that hasn't ended yet
    std::deque<AgentxPdu> ended_;
};
