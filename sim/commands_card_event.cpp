// Commands that send something up to the daemon: events, floods, frames that are wrong.

#include "card_fields.h"
#include "command.h"

using namespace card_wire;

namespace {

constexpr uint32_t MAX_SLOT = 30;
constexpr uint32_t MAX_COUNT = 1'000'000;

uint32_t slot_argument(Arguments& args) {
    const uint32_t slot = args.number("SLOT");
    if (args.error().empty() && (slot == 0 || slot > MAX_SLOT))
        args.mistake(format("SLOT must be 1 to %u", MAX_SLOT));
    return slot;
}

uint32_t action_option(Arguments& args, uint32_t otherwise) {
    const auto text = args.option("action");
    const auto action = text ? parse_card_action(*text) : otherwise;
    if (!action)
        args.mistake("no action \"" + *text + "\"");
    return action.value_or(otherwise);
}

uint32_t count_option(Arguments& args) {
    const uint32_t count = args.number_option("count", MAX_COUNT).value_or(1);
    if (count == 0)
        args.mistake("count must be 1 or more");
    return count;
}

Answer sent_or_not(bool sent) {
    return sent ? Answer() : Answer::failure("the daemon doesn't listen");
}

// The action that the daemon takes with an event, unless another is given.
uint32_t usual_action(const CardMessage& message) {
    const bool is_new_object = message.number == 922 || message.number == 938;
    return is_new_object ? card_action::CREATE : card_action::SET;
}

Action parse_card_event(Chassis& chassis, Arguments& args) {
    const uint32_t slot = slot_argument(args);
    const std::string name = args.word("TYPE");
    const CardMessage* message = find_card_event(name);
    if (!message) {
        args.mistake("no event \"" + name + "\"; there are uncfg, trap, state, learn, protect");
        return {};
    }
    const uint32_t action = action_option(args, usual_action(*message));
    const uint32_t mask = args.number_option_or("mask", 0);
    const uint32_t count = count_option(args);
    auto record = args.body_option("body").value_or(std::vector<uint8_t>(message->size));
    std::string error;
    const Fields fields = args.rest_as_fields();
    if (!fields.empty() && record.size() != message->size)
        args.mistake("a body of another size can't have fields");
    else if (!put_card_fields(*message->record, fields, record, error))
        args.mistake(error);
    return immediate([&chassis, slot, number = message->number, action, mask, count, record] {
        Card* card = chassis.cards.find(slot);
        if (!card)
            return Answer::failure(format("slot %u is empty", slot));
        return sent_or_not(card->raise_event(number, action, mask, record, count));
    });
}

// Words of the frame that a command may set as it likes.
struct HeaderOption {
    const char* name;
    uint32_t CardHeader::*word;
};
constexpr HeaderOption HEADER_OPTIONS[] = {
    {"header-id", &CardHeader::header_id},
    {"version", &CardHeader::version},
    {"ipc-type", &CardHeader::ipc_type},
    {"sender-service", &CardHeader::sender_service},
    {"sender-sub", &CardHeader::sender_sub_id},
    {"msg-id", &CardHeader::msg_id},
    {"topic", &CardHeader::topic},
    {"cmd", &CardHeader::cmd},
    {"msg-len", &CardHeader::msg_len},
    {"retcode", &CardHeader::retcode},
    {"nlmsg-len", &CardHeader::nlmsg_len},
    {"nlmsg-pid", &CardHeader::nlmsg_pid},
};

Action parse_card_frame(Chassis& chassis, Arguments& args) {
    const uint32_t slot = slot_argument(args);
    const auto type = static_cast<uint16_t>(args.number_option("type", UINT16_MAX).value_or(922));
    const uint32_t action = action_option(args, card_action::CREATE);
    const uint32_t mask = args.number_option_or("mask", 0);
    const uint32_t count = count_option(args);
    const auto body = args.body_option("body").value_or(std::vector<uint8_t>());
    const auto length = args.number_option("length", UINT16_MAX);
    std::vector<std::pair<uint32_t CardHeader::*, uint32_t>> words;
    for (const HeaderOption& option : HEADER_OPTIONS) {
        if (const auto value = args.number_option(option.name))
            words.emplace_back(option.word, *value);
    }
    return immediate([=, &chassis] {
        Card* card = chassis.cards.find(slot);
        if (!card)
            return Answer::failure(format("slot %u is empty", slot));
        const auto payload = card_payload(action, mask, body);
        CardHeader header = card->event_header(type, payload.size());
        for (const auto& [word, value] : words)
            header.*word = value;
        auto frame = build_card_frame(header, payload);
        frame.resize(length.value_or(static_cast<uint32_t>(frame.size())));
        return sent_or_not(card->send_bytes(frame, count));
    });
}

Action parse_card_raw(Chassis& chassis, Arguments& args) {
    const uint32_t slot = slot_argument(args);
    const std::string digits = args.word("HEX");
    const auto bytes = parse_hex(digits);
    if (!bytes)
        args.mistake("not hexadecimal digits: \"" + digits + "\"");
    const uint32_t count = count_option(args);
    return immediate([&chassis, slot, count, bytes = bytes.value_or(std::vector<uint8_t>())] {
        Card* card = chassis.cards.find(slot);
        if (!card)
            return Answer::failure(format("slot %u is empty", slot));
        return sent_or_not(card->send_bytes(bytes, count));
    });
}

constexpr Command COMMANDS[] = {
    {"card-event",
     "SLOT uncfg|trap|state|learn|protect [action=A] [mask=N] [count=N] [body=...] [FIELD=VALUE]...",
     "sends an event to the daemon, count times as fast as it reads:\n"
     "\"card-event 1 uncfg ponIfindex=gpon-olt1/3 index=1 sn=ABCD00000001\"",
     parse_card_event},
    {"card-frame",
     "SLOT [type=N] [action=A] [mask=N] [body=...] [count=N] [length=N] [header-id=|version=|ipc-type=|"
     "sender-service=|sender-sub=|msg-id=|topic=|cmd=|msg-len=|retcode=|nlmsg-len=|nlmsg-pid=]",
     "sends a frame whose words needn't be right; length cuts it or fills it up", parse_card_frame},
    {"card-raw", "SLOT HEX [count=N]", "sends any bytes", parse_card_raw},
};

} // namespace

std::span<const Command> card_event_commands() {
    return COMMANDS;
}
