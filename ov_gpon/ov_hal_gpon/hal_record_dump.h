// Records as text, for debug logs and the simulated cards: made from the descriptions, so it serves them all.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "hal_record_desc.h"

// Takes the lines of a dump, without a line feed; a line is valid during the call only.
struct HalDumpSink {
    void (*line)(void* context, std::string_view text);
    void* context;
};

// Gives each field of a record to the sink as "field: value", in the order of the wire; elements of lists as
// "field[2]: value" and fields of records inside it as "uniPos.cardId: value". Bytes without meaning are left
// out. `record` holds desc.size bytes and may stand at any address.
//
// Numbers are decimal. Addresses, MAC addresses and serial numbers have their usual forms (10.0.0.1,
// 00:1b:ac:00:00:01, ABCD01020304 with lower-case digits). Texts end at their NUL or with the field; what
// doesn't print in them is written as \xNN, so that no card can forge a line of the log. Passwords and keys
// (fields of type SECRET) are "***".
void hal_record_dump(const HalRecordDesc& desc, const void* record, const HalDumpSink& sink);

// Writes the same lines to the debug log, "ov_gpon_tcont_attr_t: tcontId: 3".
void hal_record_log(const HalRecordDesc& desc, const void* record);

// An element of a field of kind UNSIGNED, SIGNED (sign-extended), IFINDEX or IPV4 in host order; 0 for other
// kinds and for an element behind the last. `record` is the record that holds the field.
uint64_t hal_field_number(const HalFieldDesc& field, const void* record, unsigned element = 0);

// An element of a field as text, as in a dump; empty for a record, and for an element behind the last.
std::string hal_field_text(const HalFieldDesc& field, const void* record, unsigned element = 0);
