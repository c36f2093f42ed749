// How a card answers, and how it answers wrong.

#include <algorithm>
#include <utility>

#include "card.h"

using namespace card_wire;

// Faults in whose place nothing else happens.
bool Card::use_fault_instead(const Fault& fault) {
    if (fault.what->kind == FaultKind::LOSE)
        return true;
    if (fault.what->kind != FaultKind::CLOSE)
        return false;
    close();
    shelf_.loop.after(std::chrono::milliseconds(fault.value), [this, alive = std::weak_ptr(alive_)] {
        std::string error;
        if (alive.lock() && !is_open() && !open(error))
            shelf_.records.add("card", {{"slot", std::to_string(slot_)}, {"error", error}});
    });
    return true;
}

void Card::stop_for(uint32_t ms) {
    stop();
    shelf_.loop.after(std::chrono::milliseconds(ms), [this, alive = std::weak_ptr(alive_)] {
        if (alive.lock())
            go_on();
    });
}

void Card::reply(const CardRequest& request, Outcome outcome, const std::optional<Fault>& fault) {
    const FaultKind kind = fault ? fault->what->kind : FaultKind::CODE;
    if (fault && kind == FaultKind::NO_REPLY)
        return;
    if (fault && (kind == FaultKind::OVERSIZE || kind == FaultKind::SHORT_REPLY))
        outcome.record.resize(fault->value);
    const bool has_words = request.message && request.message->use != CardUse::PLAIN;
    const auto payload =
        has_words ? card_payload(request.action, request.mask, outcome.record) : std::move(outcome.record);
    CardHeader header = event_header(request.header.nlmsg_type, payload.size());
    header.ipc_type = static_cast<uint32_t>(IpcType::REPLY);
    header.msg_id = request.header.msg_id;
    header.topic = request.header.topic;
    header.nlmsg_flags = request.header.nlmsg_flags;
    header.nlmsg_seq = request.header.nlmsg_seq;
    header.retcode = outcome.retcode;
    if (fault) {
        const uint32_t value = fault->value;
        header.msg_id += kind == FaultKind::WRONG_SEQ ? value : 0;
        header.msg_len += kind == FaultKind::BAD_LEN ? value : 0;
        header.nlmsg_len += kind == FaultKind::BAD_NLMSG_LEN ? value : 0;
        if (kind == FaultKind::WRONG_TYPE)
            header.ipc_type = value;
        if (kind == FaultKind::WRONG_MESSAGE)
            header.nlmsg_type = static_cast<uint16_t>(value);
    }
    send_reply(request, build_card_frame(header, payload), fault);
}

void Card::send_reply(const CardRequest& request, const std::vector<uint8_t>& frame,
                      const std::optional<Fault>& fault) {
    const IpcName client{request.header.sender_service, request.header.sender_sub_id};
    ++counters_.replies;
    const auto now = Onus::Clock::now();
    const FaultKind kind = fault ? fault->what->kind : FaultKind::CODE;
    if (kind == FaultKind::LATE)
        return reply_later(client, frame, now + std::chrono::milliseconds(fault->value));
    if (kind == FaultKind::SLOW) {
        busy_until_ = std::max(busy_until_, now) + std::chrono::milliseconds(fault->value);
        return reply_later(client, frame, busy_until_);
    }
    if (kind == FaultKind::BEHIND_NEXT)
        return reply_behind_next(client, frame, fault->value);
    if (kind == FaultKind::DUPLICATE)
        transmit(client, frame);
    transmit(client, frame);
    send_held_back();
}

// A card that has gone, or whose socket is closed, answers no more.
void Card::reply_later(const IpcName& client, const std::vector<uint8_t>& frame,
                       Onus::Clock::time_point due) {
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due - Onus::Clock::now());
    shelf_.loop.after(wait, [this, alive = std::weak_ptr(alive_), client, frame] {
        if (!alive.lock() || !is_open())
            return;
        transmit(client, frame);
        send_held_back();
    });
}

// It goes out behind the next one, or by itself after a while.
void Card::reply_behind_next(const IpcName& client, const std::vector<uint8_t>& frame, uint32_t ms) {
    held_back_.emplace_back(client, frame);
    shelf_.loop.after(std::chrono::milliseconds(ms), [this, alive = std::weak_ptr(alive_)] {
        if (alive.lock() && is_open())
            send_held_back();
    });
}

void Card::send_held_back() {
    for (const auto& [client, frame] : std::exchange(held_back_, {}))
        transmit(client, frame);
}
