#include "faults.h"

#include <algorithm>

#include "messages.h"
#include "text.h"

namespace {

constexpr FaultName NAMES[] = {
    {"no-reply", FaultKind::no_reply, nullptr, 0, "the request stays unanswered"},
    {"late", FaultKind::late, "ms", 1000, "the reply comes after ms milliseconds"},
    {"code", FaultKind::code, "code", 1, "the reply's errcode"},
    {"wrong-seq", FaultKind::wrong_seq, "add", 1, "another sequence number: the right one plus add"},
    {"wrong-type", FaultKind::wrong_type, "reply-type", 1, "message number in place of UMSG_REPLY"},
    {"oversize", FaultKind::oversize, "len", 4096, "len bytes of data; above 4088 the frame is too long"},
    {"bad-len", FaultKind::bad_len, "add", 4096, "the head's length of data is the right one plus add"},
    {"short", FaultKind::short_reply, "len", 4, "a reply whose body has only len bytes"},
    {"bad-version", FaultKind::bad_version, "version", 2, "the reply's version"},
    {"truncated", FaultKind::truncated, "len", 10, "len bytes of the reply, then the connection is closed"},
    {"close", FaultKind::close, nullptr, 0, "the connection is closed in place of a reply"},
    {"no-connect-back", FaultKind::no_connect_back, nullptr, 0, "no asynchronous connection is made"},
    {"late-connect-back", FaultKind::late_connect_back, "ms", 1000, "it is made after ms milliseconds"},
};

bool is_connect_back(const Fault& fault) {
    return fault.what->kind == FaultKind::no_connect_back || fault.what->kind == FaultKind::late_connect_back;
}

} // namespace

std::span<const FaultName> fault_names() {
    return NAMES;
}

const FaultName* find_fault(std::string_view name) {
    const auto it = std::find_if(std::begin(NAMES), std::end(NAMES),
                                 [name](const FaultName& n) { return name == n.name; });
    return it == std::end(NAMES) ? nullptr : &*it;
}

std::string Fault::line() const {
    std::string text = format("id=%u fault=%s", id, what->name);
    if (type)
        text += std::string(" type=") + find_message(*type)->name;
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

std::optional<Fault> Faults::take_for_reply(uint8_t type) {
    return take([type](const Fault& f) { return !is_connect_back(f) && f.type.value_or(type) == type; });
}

std::optional<Fault> Faults::take_for_connect_back() {
    return take(is_connect_back);
}

bool Faults::remove(uint32_t id) {
    return std::erase_if(faults_, [id](const Fault& f) { return f.id == id; }) != 0;
}
