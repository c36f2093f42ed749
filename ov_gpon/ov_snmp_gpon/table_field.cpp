#include "table_field.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include <arpa/inet.h>

#include "mmg_text.h"
#include "table_record.h"

namespace {

constexpr size_t NUMBER_MAX = 21; // "18446744073709551615", "-2147483648", and a terminator

template <typename Number>
char* write_number(char* to, Number value) {
    return std::to_chars(to, to + NUMBER_MAX, value).ptr;
}

bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The digits of a number and what stood in front of them.
struct Digits {
    bool found = false;
    bool negative = false;
    uint64_t magnitude = 0; // saturated
};

Digits read_digits(std::string_view field) {
    const char* at = field.data();
    const char* end = at + field.size();
    while (at != end && is_space(*at))
        ++at;
    Digits digits;
    if (at != end && (*at == '-' || *at == '+'))
        digits.negative = *at++ == '-';
    constexpr uint64_t LARGEST = std::numeric_limits<uint64_t>::max();
    for (; at != end; ++at) {
        auto digit = static_cast<unsigned>(*at - '0');
        if (digit > 9)
            break;
        digits.found = true;
        bool overflows = digits.magnitude > LARGEST / 10 || digits.magnitude * 10 > LARGEST - digit;
        digits.magnitude = overflows ? LARGEST : digits.magnitude * 10 + digit;
    }
    return digits;
}

// The number within low .. high, as strtol gives it.
int64_t signed_within(const Digits& digits, int64_t low, int64_t high) {
    if (digits.negative)
        return digits.magnitude > static_cast<uint64_t>(-low) ? low : -static_cast<int64_t>(digits.magnitude);
    return digits.magnitude > static_cast<uint64_t>(high) ? high : static_cast<int64_t>(digits.magnitude);
}

// As strtoul gives it: a minus sign turns the number around within its width.
template <typename Unsigned>
Unsigned unsigned_within(const Digits& digits) {
    constexpr Unsigned LARGEST = std::numeric_limits<Unsigned>::max();
    if (digits.magnitude > LARGEST)
        return LARGEST;
    auto value = static_cast<Unsigned>(digits.magnitude);
    return digits.negative ? static_cast<Unsigned>(0 - value) : value;
}

void read_number(std::string_view field, const ColumnDesc& column, void* record) {
    constexpr int64_t LOWEST = std::numeric_limits<int32_t>::min();
    Digits digits = read_digits(field);
    if (!digits.found)
        return;
    switch (column.type) {
    case ColType::UINT:
        record_put(record, column.offset, unsigned_within<uint32_t>(digits));
        break;
    case ColType::COUNTER64:
        record_put(record, column.offset, unsigned_within<uint64_t>(digits));
        break;
    case ColType::IPADDR: { // written signed by this daemon, unsigned by people
        int64_t number = signed_within(digits, LOWEST, std::numeric_limits<uint32_t>::max());
        record_put(record, column.offset, htonl(static_cast<uint32_t>(number)));
        break;
    }
    default: {
        int64_t number = signed_within(digits, LOWEST, std::numeric_limits<int32_t>::max());
        record_put(record, column.offset, static_cast<int32_t>(number));
        break;
    }
    }
}

void read_text(std::string_view field, const ColumnDesc& column, void* record) {
    char* to = record_bytes(record) + column.offset;
    size_t length = std::min<size_t>(field.size(), column.limit);
    std::memcpy(to, field.data(), length);
    std::memset(to + length, 0, column.size - length);
}

} // namespace

size_t table_field_max(const ColumnDesc& column) {
    switch (column.type) {
    case ColType::TEXT:
        return column.limit + size_t{1};
    case ColType::BIN:
        return 2 * size_t{column.limit} + 1;
    default:
        return NUMBER_MAX;
    }
}

char* table_field_write(char* to, const ColumnDesc& column, const void* record) {
    const char* from = record_bytes(record) + column.offset;
    switch (column.type) {
    case ColType::INT:
    case ColType::ROWSTATUS:
        return write_number(to, record_get<int32_t>(record, column.offset));
    case ColType::UINT:
        return write_number(to, record_get<uint32_t>(record, column.offset));
    case ColType::COUNTER64:
        return write_number(to, record_get<uint64_t>(record, column.offset));
    case ColType::IPADDR:
        return write_number(to, static_cast<int32_t>(ntohl(record_get<uint32_t>(record, column.offset))));
    case ColType::TEXT: {
        size_t length = text_length(column, record);
        std::memcpy(to, from, length);
        return to + length;
    }
    case ColType::BIN:
        hex_to_str(to, from, column.limit);
        return to + 2 * size_t{column.limit};
    }
    return to;
}

void table_field_read(std::string_view field, const ColumnDesc& column, void* record) {
    switch (column.type) {
    case ColType::TEXT:
        read_text(field, column, record);
        break;
    case ColType::BIN:
        str_to_hex_clip(record_bytes(record) + column.offset, column.limit, field.data(),
                        static_cast<int>(field.size()));
        break;
    default:
        read_number(field, column, record);
        break;
    }
}
