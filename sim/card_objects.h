// What a line card was told: its objects, by message and key.
#pragma once

#include <cstdint>
#include <map>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "card_messages.h"

// Parts of an interface index.
inline constexpr uint32_t TEMPLATE_SLOT = 31;
inline uint32_t kind_of(uint32_t index) {
    return index >> 27;
}
inline uint32_t slot_of(uint32_t index) {
    return index >> 21 & 31;
}
inline uint32_t onu_number_of(uint32_t index) {
    return (index >> 7 & 255) + 1;
}
// The index of the PON port, or the ONU, on or below which an object stands.
inline uint32_t pon_of(uint32_t index) {
    return index_kind::PON << 27 | (index & 0x07FF8000);
}
inline uint32_t onu_of(uint32_t index) {
    return index_kind::ONU << 27 | (index & 0x07FFFF80);
}
// Of ONU 1 to 128 of a PON port.
inline uint32_t onu_index(uint32_t pon, uint32_t number) {
    return onu_of(pon) | (number - 1) << 7;
}

class CardObjects {
public:
    using Bytes = std::vector<uint8_t>;
    // In the order of the keys, which is numeric.
    using Table = std::map<std::string, Bytes, std::less<>>;

    // The key bytes of a record of this message.
    static std::string key_of(const CardMessage& message, std::span<const uint8_t> record);

    // Null when there is none.
    const Bytes* find(const CardMessage& message, std::span<const uint8_t> record) const;
    // Null when there is none: an object whose key begins with this index (and word).
    const Bytes* find(uint16_t number, uint32_t index) const;
    const Bytes* find(uint16_t number, uint32_t index, uint32_t word) const;

    void put(const CardMessage& message, std::span<const uint8_t> record);
    // The attributes of the mask, or the whole record of a message without a mask; makes the object when
    // there is none.
    void set(const CardMessage& message, uint32_t mask, std::span<const uint8_t> record);
    // Of an ONU also everything that stands below it, of a service its MAC filters. Gives the number of
    // objects that went.
    size_t remove(const CardMessage& message, std::span<const uint8_t> record);

    // Whether a GEM port of the T-CONT's ONU uses the T-CONT.
    bool tcont_is_used(uint32_t onu_index, uint32_t tcont_id) const;
    // Whether a service port stands on the GEM port.
    bool gem_is_used(uint32_t gem_index) const;

    const Table& table(uint16_t number) const;
    // Those of a message whose keys begin with this index, in their order.
    std::ranges::subrange<Table::const_iterator> of_index(uint16_t number, uint32_t index) const;
    size_t size() const { return size_; }
    // Objects made, changed and taken away so far; what a message says that is so already doesn't count.
    uint64_t changes() const { return changes_; }
    void clear();

private:
    size_t remove_below(uint32_t onu_index);
    void remove_filters(std::string_view service_key);

    std::map<uint16_t, Table> tables_;
    size_t size_ = 0;
    uint64_t changes_ = 0;
};
