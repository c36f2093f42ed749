// Descriptions of the wire records as data: what dumps, the simulated cards and tests walk.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "ov_hal_gpon_records.h"

struct HalRecordDesc;

struct HalFieldDesc {
    const char* name; // of the field; null for bytes without meaning
    const char* type; // as the description has it, "ENUM<ov_gpon_bw_type_t>"
    HalFieldKind kind;
    uint16_t offset;          // from the start of the record
    uint16_t element_size;    // bytes of one element; texts and octet strings are one element
    uint16_t count;           // elements of a list, else 1
    const HalRecordDesc* sub; // of the elements' record, else null
    bool secret;              // a password or a key

    constexpr uint16_t size() const { return uint16_t(element_size * count); }
};

struct HalRecordDesc {
    const char* name;
    uint16_t size; // bytes on the wire
    std::span<const HalFieldDesc> fields;
};

// hal_record_desc_<record>, and the same found by the record's type.
template <class Record>
const HalRecordDesc& hal_record_desc_of();
#define HAL_RECORD(record, size)                                                                             \
    extern const HalRecordDesc hal_record_desc_##record;                                                     \
    template <>                                                                                              \
    inline const HalRecordDesc& hal_record_desc_of<record>() {                                               \
        return hal_record_desc_##record;                                                                     \
    }
#include "records/all.def"

// All records, in the order of their descriptions.
std::span<const HalRecordDesc* const> hal_record_descs();

// By the record's name, "ov_gpon_tcont_attr_t"; null for an unknown one.
const HalRecordDesc* hal_record_desc_by_name(std::string_view name);

// One attribute of a record: the field that a bit of its mask stands for.
struct HalAttributeDesc {
    const char* name; // of the constant, "OV_GPON_TCONT_ATTR_INDEX_name"
    const char* field;
    uint16_t offset; // of the field
    uint16_t size;
};

// A record's attributes by their bits, from 0; empty for a record without a mask.
std::span<const HalAttributeDesc> hal_record_attributes(const HalRecordDesc& record);

// What a message carries.
struct HalMessageDesc {
    uint16_t type;               // message number
    const char* name;            // "OV_HAL_MSG_GPON_TCONT"; null for the messages without action and mask
    const HalRecordDesc* record; // null for bytes that are no record
    uint16_t count;              // records in a row
    uint16_t size;               // bytes of the records or bytes
    bool has_action;             // action and mask stand in front
};

// All messages, in ascending order of their numbers within those with and those without action and mask.
std::span<const HalMessageDesc> hal_message_descs();

// By the message number; null for one that carries nothing described here.
const HalMessageDesc* hal_message_desc(unsigned type);
