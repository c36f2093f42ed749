#include "card_objects.h"

#include <algorithm>
#include <cstring>

#include "card_frame.h"

namespace {

constexpr uint16_t ONU = 903;
constexpr uint16_t GEMPORT = 909;
constexpr uint16_t SERVPORT = 910;
constexpr uint16_t RM_SERVICE = 913;
constexpr uint16_t ONU_QOS = 921;
constexpr uint16_t RM_MAC_FLT = 934;
constexpr size_t SERVICE_KEY =
    6; // index and number of a service, with which the keys of its filters begin too
constexpr uint32_t LOW_BITS = 127; // GEM and service-port number of an index

std::string word_key(uint32_t word) {
    std::string key(4, '\0');
    put_be32({reinterpret_cast<uint8_t*>(key.data()), key.size()}, 0, word);
    return key;
}

// The objects of an ONU are neighbours: their keys begin with its index, or with one that differs in the kind
// and the lowest bits.
template <typename Table>
auto range_below(Table& table, uint32_t kind, uint32_t onu_index) {
    const uint32_t first = kind << 27 | (onu_index & 0x07FFFF80);
    const uint32_t last = kind == index_kind::ONU ? first : first | LOW_BITS;
    return std::pair(table.lower_bound(word_key(first)), table.lower_bound(word_key(last + 1)));
}

uint32_t field(const CardObjects::Bytes& bytes, size_t at) {
    return get_be32(bytes, at);
}

} // namespace

std::string CardObjects::key_of(const CardMessage& message, std::span<const uint8_t> record) {
    std::string key;
    for (const CardPart& part : message.key)
        key.append(reinterpret_cast<const char*>(record.data()) + part.offset, part.size);
    return key;
}

const CardObjects::Table& CardObjects::table(uint16_t number) const {
    static const Table none;
    const auto it = tables_.find(number);
    return it == tables_.end() ? none : it->second;
}

std::ranges::subrange<CardObjects::Table::const_iterator> CardObjects::of_index(uint16_t number,
                                                                                uint32_t index) const {
    const Table& objects = table(number);
    return {objects.lower_bound(word_key(index)), objects.lower_bound(word_key(index + 1))};
}

const CardObjects::Bytes* CardObjects::find(const CardMessage& message,
                                            std::span<const uint8_t> record) const {
    const Table& objects = table(message.kept_as);
    const auto it = objects.find(key_of(message, record));
    return it == objects.end() ? nullptr : &it->second;
}

const CardObjects::Bytes* CardObjects::find(uint16_t number, uint32_t index) const {
    const Table& objects = table(number);
    const auto it = objects.find(word_key(index));
    return it == objects.end() ? nullptr : &it->second;
}

const CardObjects::Bytes* CardObjects::find(uint16_t number, uint32_t index, uint32_t word) const {
    const Table& objects = table(number);
    const auto it = objects.find(word_key(index) + word_key(word));
    return it == objects.end() ? nullptr : &it->second;
}

void CardObjects::put(const CardMessage& message, std::span<const uint8_t> record) {
    const auto [it, made] = tables_[message.kept_as].try_emplace(key_of(message, record));
    size_ += made;
    changes_ += made || !std::ranges::equal(it->second, record);
    it->second.assign(record.begin(), record.end());
}

void CardObjects::set(const CardMessage& message, uint32_t mask, std::span<const uint8_t> record) {
    if (message.attributes.empty()) {
        put(message, record);
        return;
    }
    const auto [it, made] = tables_[message.kept_as].try_emplace(key_of(message, record));
    size_ += made;
    Bytes& object = it->second;
    const Bytes before = object;
    if (made && message.number == ONU_QOS)
        object.assign(record.begin(), record.end()); // it has no create: its first set is one
    object.resize(record.size());
    for (const CardPart& part : message.key)
        std::memcpy(object.data() + part.offset, record.data() + part.offset, part.size);
    for (size_t bit = 0; bit < message.attributes.size(); ++bit) {
        const CardPart& part = message.attributes[bit];
        if (mask >> bit & 1)
            std::memcpy(object.data() + part.offset, record.data() + part.offset, part.size);
    }
    changes_ += made || object != before;
}

size_t CardObjects::remove(const CardMessage& message, std::span<const uint8_t> record) {
    const size_t before = size_;
    size_ -= tables_[message.kept_as].erase(key_of(message, record));
    if (message.number == ONU)
        remove_below(get_be32(record, 0));
    if (message.number == RM_SERVICE)
        remove_filters(key_of(message, record).substr(0, SERVICE_KEY));
    changes_ += before - size_;
    return before - size_;
}

void CardObjects::remove_filters(std::string_view service_key) {
    size_ -= std::erase_if(tables_[RM_MAC_FLT], [service_key](const auto& filter) {
        return filter.first.starts_with(service_key);
    });
}

size_t CardObjects::remove_below(uint32_t onu_index) {
    const size_t before = size_;
    for (const CardMessage& message : card_messages()) {
        if (message.parent == CardParent::NONE || message.use == CardUse::LIVE)
            continue;
        const auto found = tables_.find(message.number);
        if (found == tables_.end())
            continue;
        const auto [first, last] = range_below(found->second, message.kind, onu_index);
        size_ -= static_cast<size_t>(std::distance(first, last));
        found->second.erase(first, last);
    }
    return before - size_;
}

bool CardObjects::tcont_is_used(uint32_t onu_index, uint32_t tcont_id) const {
    const auto [first, last] = range_below(table(GEMPORT), index_kind::GEM, onu_index);
    return std::any_of(first, last, [tcont_id](const auto& gem) {
        return field(gem.second, offsetof(ov_gpon_gemport_attr_t, tcontId)) == tcont_id;
    });
}

bool CardObjects::gem_is_used(uint32_t gem_index) const {
    const auto [first, last] = range_below(table(SERVPORT), index_kind::SERVPORT, gem_index);
    return std::any_of(first, last, [gem_index](const auto& port) {
        return field(port.second, offsetof(ov_gpon_service_port_attr_t, gemIfndex)) == gem_index;
    });
}

void CardObjects::clear() {
    tables_.clear();
    size_ = 0;
}
