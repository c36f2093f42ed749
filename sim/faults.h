// Faults on request: what the controller or a line card does wrong, for which message, and how often.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class FaultKind {
    NO_REPLY,          // the request stays unanswered
    LOSE,              // and nothing is done either
    LATE,              // value: milliseconds
    SLOW,              // value: milliseconds for each reply, one after the other
    BEHIND_NEXT,       // value: milliseconds that the reply waits at most for one that passes it
    CODE,              // value: the reply's errcode
    WRONG_SEQ,         // value: added to the right sequence number
    WRONG_TYPE,        // value: message type in place of UMSG_REPLY
    OVERSIZE,          // value: bytes of reply data; above 4088 the frame is longer than allowed
    BAD_LEN,           // value: added to the right length of data in the reply's head
    SHORT_REPLY,       // value: bytes of the reply's body
    BAD_VERSION,       // value: the reply's version
    TRUNCATED,         // value: bytes of the reply's frame that go out before the connection is closed
    CLOSE,             // the connection is closed in place of a reply
    STOP,              // value: milliseconds in which the card reads nothing, behind its answer
    NO_CONNECT_BACK,   // the daemon's connection isn't answered with one
    LATE_CONNECT_BACK, // value: milliseconds
    DUPLICATE,         // the reply goes out twice
    WRONG_MESSAGE,     // value: number of another message in the reply
    BAD_NLMSG_LEN,     // value: added to the right length of the netlink-shaped message
};

struct FaultName {
    const char* name;
    const char* value_name; // its option's name; null: takes none
    const char* help;
    FaultKind kind;
    uint32_t value; // when the option isn't given
};
// The controller's, and a line card's.
std::span<const FaultName> fault_names();
std::span<const FaultName> card_fault_names();
const FaultName* find_fault(std::span<const FaultName> names, std::string_view name);

struct Fault {
    uint32_t id = 0;
    const FaultName* what = nullptr;
    std::optional<uint16_t> type; // only for requests of this type
    std::string type_name;
    uint32_t times = 1; // 0: until it is cleared
    uint32_t value = 0;

    std::string line() const;
};

class Faults {
public:
    // Gives the fault's id.
    uint32_t add(Fault fault);
    // The oldest fault that applies to the reply to a request of this type, used up once.
    std::optional<Fault> take_for_reply(uint16_t type);
    std::optional<Fault> take_for_connect_back();
    // False when there is no such fault.
    bool remove(uint32_t id);
    void clear() { faults_.clear(); }
    bool empty() const { return faults_.empty(); }
    const std::vector<Fault>& all() const { return faults_; }

private:
    template <typename Applies>
    std::optional<Fault> take(Applies applies);

    std::vector<Fault> faults_;
    uint32_t next_id_ = 1;
};
