#include "card_messages.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>

#include "ov_hal_gpon_msg.h"
#include "text.h"

namespace {

std::vector<CardPart> parts_of(const HalRecordDesc* record, const char* paths) {
    Words words;
    std::string error;
    split_words(paths, words, error);
    std::vector<CardPart> parts;
    for (const std::string& word : words)
        parts.push_back(word == "@0" || !record ? CardPart{word, 0, 4} : card_part(*record, word));
    return parts;
}

// The parts that the bits of the message's mask stand for. QinQ masks say whether a rule is added or removed;
// the record counts as a whole.
std::vector<CardPart> masked_parts_of(const HalMessageDesc& message) {
    const bool whole = message.type == OV_HAL_MSG_GPON_PORT_QINQ || message.type == OV_HAL_MSG_GPON_ONU_QINQ;
    std::vector<CardPart> parts;
    if (!whole && message.record)
        for (const HalAttributeDesc& attribute : hal_record_attributes(*message.record))
            parts.push_back({attribute.field, attribute.offset, attribute.size});
    return parts;
}

// How a card can tell that a message is for it: by what the sender sends it by.
struct Destination {
    uint16_t number;
    ov_hal_gpon_msg_dest_t dest;
    uint16_t offset;
};
constexpr Destination DESTINATIONS[] = {
#define OV_HAL_GPON_MSG(name, value, size, dest, offset, padding)                                            \
    {value, ov_hal_gpon_msg_dest_t::dest, offset},
#include "ov_hal_gpon_msg_catalogue.def"
#undef OV_HAL_GPON_MSG
};

CardOwner owner_by(const Destination& destination) {
    switch (destination.dest) {
    case ov_hal_gpon_msg_dest_t::INDEX_AT:
        return CardOwner::INDEX;
    case ov_hal_gpon_msg_dest_t::INDEX_OR_ALL:
        return CardOwner::SHARED_INDEX;
    case ov_hal_gpon_msg_dest_t::WORD_AT: // the end of a replay is told to one card
        return destination.number == OV_HAL_MSG_GPON_CONF_SYNC_END ? CardOwner::OWN_SLOT
                                                                   : CardOwner::SLOT_WORD;
    default:
        return CardOwner::EVERY_CARD;
    }
}

CardMessage describe(int number, uint32_t kind, CardUse use, CardParent parent, const char* key) {
    const HalMessageDesc& carried = *hal_message_desc(static_cast<unsigned>(number));
    const Destination& destination = *std::ranges::find(DESTINATIONS, carried.type, &Destination::number);
    CardMessage message = {};
    message.number = message.kept_as = carried.type;
    message.name = carried.name;
    message.record = carried.record;
    message.size = carried.size;
    message.owner = owner_by(destination);
    message.owner_at = destination.offset;
    message.kind = kind;
    message.use = use;
    message.parent = parent;
    message.key = parts_of(carried.record, key);
    message.attributes = masked_parts_of(carried);
    return message;
}

CardMessage describe_plain(uint16_t number, const char* name, const HalRecordDesc* record, uint16_t size,
                           uint16_t kept_as, uint32_t action, const char* key) {
    CardMessage message = {};
    message.number = number;
    message.name = name;
    message.record = record;
    message.size = size;
    message.owner = CardOwner::EVERY_CARD;
    message.use = CardUse::PLAIN;
    message.kept_as = kept_as;
    message.action = action;
    message.key = parts_of(record, key);
    return message;
}

CardMessage describe_plain(uint16_t number, const char* name, uint16_t kept_as, uint32_t action,
                           const char* key) {
    const HalMessageDesc& carried = *hal_message_desc(number);
    return describe_plain(number, name, carried.record, carried.size, kept_as, action, key);
}

CardMessage describe_field(uint16_t number, const char* name, uint16_t kept_as, const char* key,
                           const char* field) {
    CardMessage message = describe_plain(number, name, kept_as, card_action::SET, key);
    message.attributes = parts_of(message.record, field);
    return message;
}

std::vector<CardMessage> make_messages() {
    std::vector<CardMessage> messages = {
#define CARD_MESSAGE(message, kind, use, parent, key)                                                        \
    describe(message, index_kind::kind, CardUse::use, CardParent::parent, key),
#define CARD_PLAIN(number, name, size, kept_as, action, key)                                                 \
    describe_plain(number, name, nullptr, size, kept_as, card_action::action, key),
#define CARD_PLAIN_RECORD(number, name, kept_as, action, key)                                                \
    describe_plain(number, name, kept_as, card_action::action, key),
#define CARD_PLAIN_FIELD(number, name, kept_as, key, field) describe_field(number, name, kept_as, key, field),
#include "card_messages.def"
    };
    std::sort(messages.begin(), messages.end(),
              [](const CardMessage& a, const CardMessage& b) { return a.number < b.number; });
    return messages;
}

// What only goes up. The sender's list says which those are.
std::vector<CardMessage> make_events() {
    std::vector<CardMessage> events;
    for (const Destination& destination : DESTINATIONS)
        if (destination.dest == ov_hal_gpon_msg_dest_t::RECEIVED_ONLY)
            events.push_back(
                describe(destination.number, index_kind::ANY, CardUse::LIVE, CardParent::NONE, ""));
    return events;
}

std::string shortened(std::string_view name) {
    for (const std::string_view prefix : {"OV_HAL_MSG_GPON_", "OV_HAL_MSG_"}) {
        if (name.starts_with(prefix)) {
            name.remove_prefix(prefix.size());
            break;
        }
    }
    std::string text(name);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return c == '_' ? '-' : static_cast<char>(std::tolower(c)); });
    return text;
}

const CardMessage* find_named(std::span<const CardMessage> messages, std::string_view name) {
    const auto number = parse_u32(name);
    const auto it = std::find_if(messages.begin(), messages.end(), [&](const CardMessage& m) {
        return name == m.name || number == m.number || name == shortened(m.name);
    });
    return it == messages.end() ? nullptr : &*it;
}

} // namespace

std::span<const CardMessage> card_messages() {
    static const std::vector<CardMessage> messages = make_messages();
    return messages;
}

const CardMessage* find_card_message(uint32_t number) {
    static const auto by_number = [] {
        std::vector<const CardMessage*> found(1024, nullptr);
        for (const CardMessage& message : card_messages())
            found[message.number] = &message;
        return found;
    }();
    return number < by_number.size() ? by_number[number] : nullptr;
}

const CardMessage* find_card_message(std::string_view name) {
    const CardMessage* found = find_named(card_messages(), name);
    return found ? found : find_named(card_event_messages(), name);
}

std::string card_short_name(const CardMessage& message) {
    return shortened(message.name);
}

std::span<const CardMessage> card_event_messages() {
    static const std::vector<CardMessage> events = make_events();
    return events;
}

const CardMessage* find_card_event(std::string_view name) {
    static constexpr std::pair<std::string_view, std::string_view> SHORT[] = {
        {"uncfg", "922"}, {"trap", "923"}, {"state", "927"}, {"learn", "938"}, {"protect", "953"}};
    for (const auto& [word, number] : SHORT) {
        if (word == name)
            name = number;
    }
    return find_named(card_event_messages(), name);
}

static constexpr const char* ACTION_NAMES[] = {"create", "delete", "set", "get", "get-current"};

std::string card_action_name(uint32_t action) {
    return action >= 1 && action <= std::size(ACTION_NAMES) ? ACTION_NAMES[action - 1]
                                                            : std::to_string(action);
}

std::optional<uint32_t> parse_card_action(std::string_view text) {
    for (size_t i = 0; i < std::size(ACTION_NAMES); ++i) {
        if (text == ACTION_NAMES[i])
            return static_cast<uint32_t>(i + 1);
    }
    return parse_u32(text);
}

CardPart card_part(const HalRecordDesc& record, std::string_view path) {
    const size_t dot = path.find('.');
    for (const HalFieldDesc& field : record.fields) {
        if (!field.name || field.name != path.substr(0, dot))
            continue;
        if (dot == std::string_view::npos)
            return {std::string(path), field.offset, field.size()};
        if (!field.sub)
            break;
        CardPart part = card_part(*field.sub, path.substr(dot + 1));
        return {std::string(path), static_cast<uint16_t>(field.offset + part.offset), part.size};
    }
    return {std::string(path), 0, 0};
}
