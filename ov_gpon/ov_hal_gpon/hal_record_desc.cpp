#include "hal_record_desc.h"

#include <algorithm>
#include <cstddef>

#include "ov_hal_gpon_msg.h"

namespace {

template <class Record>
constexpr const HalRecordDesc* sub_record = nullptr;

#define HAL_RECORD(record, size)                                                                             \
    template <>                                                                                              \
    constexpr const HalRecordDesc* sub_record<record> = &hal_record_desc_##record;
#include "records/all.def"

template <class Type>
constexpr HalFieldDesc field_desc(const char* name, const char* type, size_t offset) {
    using Element = typename Type::element;
    return {name, type, Type::kind, uint16_t(offset), uint16_t(sizeof(Element)), uint16_t(Type::count),
            sub_record<Element>, requires {Type::is_secret;
}
}; // namespace
}

// A record holds its fields, gaps included, one behind the other and nothing else.
constexpr bool fields_cover(std::span<const HalFieldDesc> fields, size_t size) {
    size_t end = 0;
    for (const HalFieldDesc& field : fields) {
        if (field.offset != end)
            return false;
        end += field.size();
    }
    return end == size;
}

} // namespace

#define HAL_RECORD(record, size)                                                                             \
    namespace {                                                                                              \
    namespace desc_of_##record {                                                                             \
        using Record = record;                                                                               \
        static_assert(sizeof(Record) == (size), #record " has its size on the wire");                        \
        static_assert(std::is_standard_layout_v<Record> && std::is_trivially_copyable_v<Record>,             \
                      #record " may be copied to and from the wire");                                        \
        constexpr HalFieldDesc fields[] = {
#define HAL_FIELD(offset, field, ...)                                                                        \
    field_desc<hal_type::__VA_ARGS__>(#field, #__VA_ARGS__, offsetof(Record, field)),
#define HAL_PAD(offset, size)                                                                                \
    field_desc<hal_type::PAD<(size)>>(nullptr, "PAD", offsetof(Record, pad_at_##offset)),
#define HAL_END(record)                                                                                      \
    }                                                                                                        \
    ;                                                                                                        \
    static_assert(fields_cover(fields, sizeof(Record)), #record " has its fields at their offsets");         \
    }                                                                                                        \
    }                                                                                                        \
    constexpr HalRecordDesc hal_record_desc_##record = {#record, sizeof(record), desc_of_##record::fields};
#include "records/all.def"

// One check for each field, so that the compiler names the one that stands wrong.
#define HAL_RECORD(record, size)                                                                             \
    namespace {                                                                                              \
    namespace desc_of_##record {
#define HAL_FIELD(offset, field, ...) static_assert(offsetof(Record, field) == (offset), #field);
#define HAL_PAD(offset, size) static_assert(offsetof(Record, pad_at_##offset) == (offset), "PAD");
#define HAL_END(record)                                                                                      \
    }                                                                                                        \
    }
#include "records/all.def"

namespace {

constexpr const HalRecordDesc* ALL_DESCS[] = {
#define HAL_RECORD(record, size) &hal_record_desc_##record,
#include "records/all.def"
};

// ---- attributes --------------------------------------------------------------------------------------

#define HAL_ATTRIBUTES(record)                                                                               \
    namespace attributes_of_##record {                                                                       \
        using Record = record;                                                                               \
        constexpr HalAttributeDesc list[] = {
#define HAL_ATTRIBUTE(bit, attribute, field)                                                                 \
    {#attribute, #field, uint16_t(offsetof(Record, field)), uint16_t(sizeof(Record::field))},
#define HAL_ATTRIBUTES_END(bit, attribute)                                                                   \
    }                                                                                                        \
    ;                                                                                                        \
    static_assert(std::size(list) == (bit), "the bit of " #attribute " is behind the last attribute");       \
    }
#include "records/attributes.def"

// One check for each attribute, so that the compiler names the one whose bit is wrong.
#define HAL_ATTRIBUTES(record) namespace attributes_of_##record {
#define HAL_ATTRIBUTE(bit, attribute, field)                                                                 \
    static_assert(list[bit].offset == offsetof(Record, field) &&                                             \
                      std::string_view(list[bit].name) == #attribute,                                        \
                  #attribute);
#define HAL_ATTRIBUTES_END(bit, attribute) }
#include "records/attributes.def"

struct AttributesOf {
    const HalRecordDesc* record;
    std::span<const HalAttributeDesc> attributes;
};
constexpr AttributesOf attributes[] = {
#define HAL_ATTRIBUTES(record) {&hal_record_desc_##record, attributes_of_##record::list},
#include "records/attributes.def"
};

// ---- messages ----------------------------------------------------------------------------------------

// Bytes behind action and mask, as the sender has them.
enum : uint16_t {
#define OV_HAL_GPON_MSG(name, value, size, dest, offset, padding) SIZE_OF_##name = (size),
#include "ov_hal_gpon_msg_catalogue.def"
#undef OV_HAL_GPON_MSG
};

#define HAL_MESSAGE(message, record, count)                                                                  \
    static_assert(SIZE_OF_##message == sizeof(record) * (count), "the sender has its size of " #message);
#include "records/messages.def"

constexpr HalMessageDesc MESSAGES[] = {
#define HAL_MESSAGE(message, record, count)                                                                  \
    {message, #message, &hal_record_desc_##record, count, SIZE_OF_##message, true},
#define HAL_MESSAGE_BYTES(message) {message, #message, nullptr, 0, SIZE_OF_##message, true},
#define HAL_PLAIN_MESSAGE(number, record)                                                                    \
    {number, nullptr, &hal_record_desc_##record, 1, uint16_t(sizeof(record)), false},
#include "records/messages.def"
};

} // namespace

std::span<const HalRecordDesc* const> hal_record_descs() {
    return ALL_DESCS;
}

const HalRecordDesc* hal_record_desc_by_name(std::string_view name) {
    const auto* found = std::ranges::find(ALL_DESCS, name, &HalRecordDesc::name);
    return found == std::end(ALL_DESCS) ? nullptr : *found;
}

std::span<const HalAttributeDesc> hal_record_attributes(const HalRecordDesc& record) {
    const auto* found = std::ranges::find(attributes, &record, &AttributesOf::record);
    return found == std::end(attributes) ? std::span<const HalAttributeDesc>{} : found->attributes;
}

std::span<const HalMessageDesc> hal_message_descs() {
    return MESSAGES;
}

const HalMessageDesc* hal_message_desc(unsigned type) {
    const auto* found = std::ranges::find(MESSAGES, type, &HalMessageDesc::type);
    return found == std::end(MESSAGES) ? nullptr : found;
}
