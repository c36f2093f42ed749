// Records as named values: for the JSON of a card's objects, for records and for commands.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "card_messages.h"
#include "messages.h"

// One element of a field, with its path: "uniPos.uniId", "sched.weight[3]".
using CardFieldVisitor =
    std::function<void(const std::string& path, const HalFieldDesc& field, uint16_t offset)>;
void walk_card_fields(const HalRecordDesc& record, const CardFieldVisitor& visit);

// A text or octet string is its characters up to the first NUL when they are printable and nothing but zeros
// follows, else "hex:" and its digits; a number is decimal.
std::string card_value_text(const HalFieldDesc& field, std::span<const uint8_t> bytes);

// The record as path and text pairs.
NamedValues card_values_of(const HalRecordDesc& record, std::span<const uint8_t> bytes);

// One JSON object: numbers as numbers, texts as card_value_text gives them, lists as arrays, nested records
// as objects.
std::string card_record_json(const HalRecordDesc& record, std::span<const uint8_t> bytes);
std::string json_string(std::string_view text);

// Puts named values into a record: numbers, port names for an index, texts, "hex:" and digits, serial numbers
// as parse_onu_serial takes them. False, with the reason in error.
bool put_card_fields(const HalRecordDesc& record, const Fields& values, std::span<uint8_t> bytes,
                     std::string& error);
