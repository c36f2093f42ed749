#include "faults.h"

#include <algorithm>

#include "text.h"

namespace {

constexpr FaultName NAMES[] = {
    {"no-reply", nullptr, "the request stays unanswered", FaultKind::NO_REPLY, 0},
    {"late", "ms", "the reply comes after ms milliseconds", FaultKind::LATE, 1000},
    {"code", "code", "the reply's errcode", FaultKind::CODE, 1},
    {"wrong-seq", "add", "another sequence number: the right one plus add", FaultKind::WRONG_SEQ, 1},
    {"wrong-type", "reply-type", "message number in place of UMSG_REPLY", FaultKind::WRONG_TYPE, 1},
    {"oversize", "len", "len bytes of data; above 4088 the frame is too long", FaultKind::OVERSIZE, 4096},
    {"bad-len", "add", "the head's length of data is the right one plus add", FaultKind::BAD_LEN, 4096},
    {"short", "len", "a reply whose body has only len bytes", FaultKind::SHORT_REPLY, 4},
    {"bad-version", "version", "the reply's version", FaultKind::BAD_VERSION, 2},
    {"truncated", "len", "len bytes of the reply, then the connection is closed", FaultKind::TRUNCATED, 10},
    {"close", nullptr, "the connection is closed in place of a reply", FaultKind::CLOSE, 0},
    {"no-connect-back", nullptr, "no asynchronous connection is made", FaultKind::NO_CONNECT_BACK, 0},
    {"late-connect-back", "ms", "it is made after ms milliseconds", FaultKind::LATE_CONNECT_BACK, 1000},
};

constexpr FaultName CARD_NAMES[] = {
    {"no-reply", nullptr, "the request is carried out, but not answered", FaultKind::NO_REPLY, 0},
    {"lose", nullptr, "the message is neither carried out nor answered", FaultKind::LOSE, 0},
    {"late", "ms", "the reply comes after ms milliseconds", FaultKind::LATE, 1000},
    {"slow", "ms", "each reply takes ms milliseconds, one after the other", FaultKind::SLOW, 2},
    {"swap", "ms", "the reply goes out behind the next one, or after ms milliseconds", FaultKind::BEHIND_NEXT,
     1000},
    {"code", "code", "the request isn't carried out; the reply has this return code", FaultKind::CODE, 1},
    {"oversize", "len", "len bytes of record in the reply", FaultKind::OVERSIZE, 1024},
    {"short", "len", "len bytes of record in the reply", FaultKind::SHORT_REPLY, 4},
    {"duplicate", nullptr, "the reply goes out twice", FaultKind::DUPLICATE, 0},
    {"wrong-id", "add", "the reply's msg_id is the right one plus add", FaultKind::WRONG_SEQ, 1},
    {"wrong-type", "ipc-type", "IPC message type in place of 2", FaultKind::WRONG_TYPE, 0},
    {"wrong-message", "message", "number of another message in the reply", FaultKind::WRONG_MESSAGE, 901},
    {"bad-msg-len", "add", "the reply's msg_len is the right one plus add", FaultKind::BAD_LEN, 1000},
    {"bad-nlmsg-len", "add", "the reply's nlmsg_len is the right one plus add", FaultKind::BAD_NLMSG_LEN,
     1000},
    {"close", "ms", "the card closes its socket in place of an answer, for ms milliseconds", FaultKind::CLOSE,
     1000},
    {"stop", "ms", "the message is carried out and answered, and for ms milliseconds none is read",
     FaultKind::STOP, 1000},
};

bool is_connect_back(const Fault& fault) {
    return fault.what->kind == FaultKind::NO_CONNECT_BACK || fault.what->kind == FaultKind::LATE_CONNECT_BACK;
}

} // namespace

std::span<const FaultName> fault_names() {
    return NAMES;
}

std::span<const FaultName> card_fault_names() {
    return CARD_NAMES;
}

const FaultName* find_fault(std::span<const FaultName> names, std::string_view name) {
    const auto it =
        std::find_if(names.begin(), names.end(), [name](const FaultName& n) { return name == n.name; });
    return it == names.end() ? nullptr : &*it;
}

std::string Fault::line() const {
    std::string text = format("id=%u fault=%s", id, what->name);
    if (type)
        text += " type=" + type_name;
    if (what->value_name)
        text += format(" %s=%u", what->value_name, value);
    return text + (times == 0 ? std::string(" times=forever") : format(" times=%u", times));
}

uint32_t Faults::add(Fault fault) {
    fault.id = next_id_++;
    faults_.push_back(fault);
    return fault.id;
}

template <typename Applies>
std::optional<Fault> Faults::take(Applies applies) {
    const auto it = std::find_if(faults_.begin(), faults_.end(), applies);
    if (it == faults_.end())
        return {};
    const Fault fault = *it;
    if (it->times == 1)
        faults_.erase(it);
    else if (it->times > 1)
        --it->times;
    return fault;
}

std::optional<Fault> Faults::take_for_reply(uint16_t type) {
    return take([type](const Fault& f) { return !is_connect_back(f) && f.type.value_or(type) == type; });
}

std::optional<Fault> Faults::take_for_connect_back() {
    return take(is_connect_back);
}

bool Faults::remove(uint32_t id) {
    return std::erase_if(faults_, [id](const Fault& f) { return f.id == id; }) != 0;
}
