// The messages of the line cards as data: names, records, keys and what a card does with each.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hal_record_desc.h"

namespace card_action {
inline constexpr uint32_t CREATE = 1;
inline constexpr uint32_t DELETE = 2;
inline constexpr uint32_t SET = 3;
inline constexpr uint32_t GET = 4;
inline constexpr uint32_t GET_CURRENT = 5;
} // namespace card_action

// Kinds of interface index that stand in the records.
namespace index_kind {
inline constexpr uint32_t ANY = 0; // or none
inline constexpr uint32_t PON = 9;
inline constexpr uint32_t ONU = 10;
inline constexpr uint32_t GEM = 11;
inline constexpr uint32_t SERVPORT = 12;
} // namespace index_kind

// How a card can tell that a message is for it.
enum class CardOwner {
    INDEX,        // slot of the index at owner_at
    SHARED_INDEX, // the same; the index of a template (slot 31) is for every card
    SLOT_WORD,    // a word with the slot, or 0 for every card
    OWN_SLOT,     // a word with the slot
    EVERY_CARD,
};

enum class CardUse {
    DEFINED, // kept; has to be created before it is set or read
    HELD,    // kept; a set makes it, a read of one never set gives what a fresh card has
    LIVE,    // nothing is kept, a read gives live values
    COMMAND, // does something; the last one is kept to be looked at, and can't be read
    PLAIN,   // message without action and mask
};

enum class CardParent {
    NONE,
    ONU,      // the ONU of the index
    TCONT,    // the T-CONT of the GEM port
    GEM,      // the GEM port of the service port
    GEM_PORT, // the GEM port of the index
};

// Bytes of a record.
struct CardPart {
    std::string name;
    uint16_t offset;
    uint16_t size;
};

struct CardMessage {
    uint16_t number;
    const char* name;
    const HalRecordDesc* record; // null: the fields are not known
    uint16_t size;               // bytes of the record; several records in a row when it is a multiple
    CardOwner owner;
    uint16_t owner_at;
    uint32_t kind; // of the index at owner_at; 0: any
    CardUse use;
    CardParent parent;
    uint16_t kept_as; // number of the message with whose objects it is kept
    uint32_t action;  // that a plain message means
    std::vector<CardPart> key;
    std::vector<CardPart> attributes; // by bit of the mask; empty: the whole record counts
};

// In order of their numbers.
std::span<const CardMessage> card_messages();
const CardMessage* find_card_message(uint32_t number);
// By name, by short name ("gemport") or by number. Also finds those that only go up to the daemon.
const CardMessage* find_card_message(std::string_view name);
// "OV_HAL_MSG_GPON_RM_UNI" gives "rm-uni".
std::string card_short_name(const CardMessage& message);

// What goes up: the five events. Their use is LIVE, and no card takes them.
std::span<const CardMessage> card_event_messages();
const CardMessage* find_card_event(std::string_view name);

// "create", "delete", "set", "get", "get-current"; the number for any other.
std::string card_action_name(uint32_t action);
// By name or number; nothing for another text.
std::optional<uint32_t> parse_card_action(std::string_view text);

// The bytes of a field; a path names one inside a nested record ("uniPos.cardId"). size 0 when there is none.
CardPart card_part(const HalRecordDesc& record, std::string_view path);
