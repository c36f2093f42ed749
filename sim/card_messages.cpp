#include "card_messages.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>

#include "text.h"

namespace {

// The bits of a record's mask, as field names; empty for a record without a mask.
const char* attribute_names(std::string_view record) {
#define CARD_MESSAGE(...)
#define CARD_PLAIN(...)
#define CARD_ATTRIBUTES(name, fields)                                                                        \
    if (record == #name)                                                                                     \
        return fields;
#include "card_messages.def"
#undef CARD_MESSAGE
#undef CARD_PLAIN
#undef CARD_ATTRIBUTES
    return "";
}

std::vector<CardPart> parts_of(const HalRecordDesc* record, const char* paths) {
    Words words;
    std::string error;
    split_words(paths, words, error);
    std::vector<CardPart> parts;
    for (const std::string& word : words)
        parts.push_back(word == "@0" || !record ? CardPart{word, 0, 4} : card_part(*record, word));
    return parts;
}

// QinQ masks say whether a rule is added or removed; the record counts as a whole.
const char* mask_of(uint16_t number, const char* record) {
    constexpr uint16_t PORT_QINQ = 902;
    constexpr uint16_t ONU_QINQ = 905;
    return number == PORT_QINQ || number == ONU_QINQ ? "" : attribute_names(record);
}

CardMessage describe(uint16_t number, const char* name, const char* record_name, uint16_t size,
                     CardOwner owner, uint16_t owner_at, uint32_t kind, CardUse use, CardParent parent,
                     const char* key) {
    const HalRecordDesc* record = hal_record_desc_by_name(record_name);
    return {number,
            name,
            record,
            size,
            owner,
            owner_at,
            kind,
            use,
            parent,
            number,
            0,
            parts_of(record, key),
            parts_of(record, mask_of(number, record_name))};
}

CardMessage describe_plain(uint16_t number, const char* name, const char* record_name, uint16_t size,
                           uint16_t kept_as, uint32_t action, const char* key) {
    CardMessage message = describe(number, name, record_name, size, CardOwner::EVERY_CARD, 0, 0,
                                   CardUse::PLAIN, CardParent::NONE, key);
    message.kept_as = kept_as;
    message.action = action;
    message.attributes.clear();
    return message;
}

std::vector<CardMessage> make_messages() {
    std::vector<CardMessage> messages = {
#define CARD_MESSAGE(number, name, record, size, owner, at, kind, use, parent, key)                          \
    describe(number, #name, #record, size, CardOwner::owner, at, kind, CardUse::use, CardParent::parent, key),
#define CARD_PLAIN(number, name, record, size, kept_as, action, key)                                         \
    describe_plain(number, name, #record, size, kept_as, card_action::action, key),
#define CARD_ATTRIBUTES(record, fields)
#include "card_messages.def"
#undef CARD_MESSAGE
#undef CARD_PLAIN
#undef CARD_ATTRIBUTES
    };
    std::sort(messages.begin(), messages.end(),
              [](const CardMessage& a, const CardMessage& b) { return a.number < b.number; });
    return messages;
}

CardMessage event(uint16_t number, const char* name, const char* record) {
    const HalRecordDesc* desc = hal_record_desc_by_name(record);
    return {number, name, desc, desc->size, CardOwner::EVERY_CARD, 0, 0, CardUse::LIVE, CardParent::NONE,
            number, 0,    {},   {}};
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
    static const std::vector<CardMessage> events = {
        event(922, "OV_HAL_MSG_GPON_UNCFG_ONU", "ov_gpon_uncfg_onu_attr_t"),
        event(923, "OV_HAL_MSG_GPON_WN_TRAP", "ov_gpon_wanning_trap_t"),
        event(927, "OV_HAL_MSG_GPON_ONUSTATES_TRAP", "ov_gpon_trap_onu_state_attr_t"),
        event(938, "OV_HAL_MSG_GPON_AUTO_LEARN_ONU", "ov_gpon_autolearn_onu_attr_t"),
        event(953, "OV_HAL_MSG_GPON_PON_PROTECT_STATUS", "ov_gpon_pon_protect_group_attr_t"),
    };
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
