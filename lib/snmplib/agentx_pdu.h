// What a master agent sends, looked at before the SNMP library gets it.
//
// The library trusts its master: an object identifier with more arcs than it has room for overwrites its
// memory. So each PDU (RFC 2741, 6) is checked as a whole, and the connection ends with the first that isn't
// one: behind it nothing on the stream can be trusted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

enum class AgentxPduType : uint8_t {
    CLOSE = 2,
    GET = 5,
    GET_NEXT = 6,
    GET_BULK = 7,
    TEST_SET = 8,
    COMMIT_SET = 9,
    UNDO_SET = 10,
    CLEANUP_SET = 11,
    NOTIFY = 12,
    RESPONSE = 18,
};

// What the header of a PDU says; nothing for fewer bytes than it has.
std::optional<AgentxPduType> agentx_pdu_type(std::span<const uint8_t> pdu);

// Whether these bytes are one PDU that a master may send to a subagent: a Close, a request or a Response, all
// of whose parts end where it does. Object identifiers have 128 arcs at most (RFC 2741, 5.1).
bool agentx_pdu_is_sound(std::span<const uint8_t> pdu);

// Looks at a stream in the pieces in which it arrives. One for each connection.
class AgentxGate {
public:
    // A longer PDU is refused by its header.
    static constexpr size_t kMaxPdu = size_t{1} << 20;

    // Whether every PDU that ends in this piece is sound. After a refusal the stream is of no use.
    bool pass(std::span<const uint8_t> piece);
    // Bytes up to the end of the present PDU, or of its header as long as that isn't complete.
    size_t missing() const;
    // Whether the last piece ended a PDU.
    bool is_between() const { return ended_ && begun_.empty(); }
    // The type of the last PDU that has ended.
    std::optional<AgentxPduType> ended() const { return ended_; }

private:
    std::vector<uint8_t> begun_; // of the PDU that hasn't ended yet
    std::optional<AgentxPduType> ended_;
};
