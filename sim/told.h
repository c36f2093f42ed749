// What a card was told for one of its ONUs: the objects of the ONU itself and, when it is bound to a service
// profile, those of the profile's template, unless the ONU has an object of its own in their place.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include "card_objects.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"

// The bytes as a record; what they lack is 0.
template <typename Record>
Record record_of(std::span<const uint8_t> bytes) {
    Record record{};
    std::memcpy(static_cast<void*>(&record), bytes.data(), std::min(bytes.size(), sizeof record));
    return record;
}

// Index of the template of the service profile that the ONU is bound to; 0 when it is bound to none.
uint32_t template_of(const CardObjects& objects, uint32_t onu_index);

// In the order of their keys, the ONU's own first. Valid until the card is told more.
std::vector<const CardObjects::Bytes*> told_of(const CardObjects& objects, uint16_t number,
                                               uint32_t onu_index);

template <typename Record>
std::vector<Record> told_records(const CardObjects& objects, uint16_t number, uint32_t onu_index) {
    std::vector<Record> records;
    for (const auto* bytes : told_of(objects, number, onu_index))
        records.push_back(record_of<Record>(*bytes));
    return records;
}

// Of a message that an ONU has one object of, or none.
template <typename Record>
std::optional<Record> told_record(const CardObjects& objects, uint16_t number, uint32_t onu_index) {
    const auto told = told_of(objects, number, onu_index);
    return told.empty() ? std::nullopt : std::optional(record_of<Record>(*told.front()));
}
