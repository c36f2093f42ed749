// How the columns of a table reach a line card: one line for each column, beside the table's module. From
// these lines come the record of a message, the mask of a set, the mask of a card's replay, and what a read
// brings back.
//
//     namespace {
//     using Row = ov_sGemTable_attr_t;
//     using Record = ov_gpon_gemport_attr_t;
//     namespace column = sGemTable_column;
//
//     constexpr MapLine GEM_LINES[] = {
//         WIRE_ONLY(ifindex, gem_ifindex_of),
//         MAP(sGemTableGemName, name, OV_GPON_GEMPORT_ATTR_INDEX_name).create_only(),
//         MAP(sGemTableIfEnableEncryption, isEncyption, OV_GPON_GEMPORT_ATTR_INDEX_isEncyption),
//         UNMASKED(sGemTableUpQueueMapID, upQmapId),
//     };
//     }
//     constexpr MessageMap<Row, Record> gem_map(GEM_LINES, ...);
//
// A line names `Row`, `Record` and `column` of the place where it stands. The lines:
//
//   MAP(column, field, bit)               the column is the field, and raises the bit of the attribute
//   MAP_AS(column, field, bit, convert)   the same, the field is convert(column); not read back
//   MAP_INTO(column, field, bit, fill)    the same by fill(row, record), for a field that is a record
//   UNMASKED(column, field)               the column is the field; no bit stands for it
//   UNMASKED_IPV4(column, field)          the same of an IPv4 address, which columns hold in network order
//   MASK_ONLY(column, bit)                the column raises the bit; nothing of it is in the record
//   WIRE_ONLY(field, value)               no column: the field is value(row), such as the index
//   WIRE_INTO(field, fill)                the same by fill(row, record)
//   READ_ONLY(column, field)              the field of an answer is the column; never sent
//   READ_INTO(column, field, take)        the same by take(record, row), for a column that is made of it
//   READ_IPV4(column, field)              the same of an IPv4 address
//
// and what may be said of a line:
//
//   .create_only()                        a replay's create brings it, a replay's set leaves it out
//   .replayed(NOT_ZERO)                   when a replay's set brings it: otherwise when the column
//   .replayed(IN_RANGE, low, high)        differs from its value at creation
//   .applies_when(ROW_IS(condition))      for rows of which condition(row) holds; of others the field
//                                         stays 0 and no bit is raised. A replay looks at the column alone.
//
// Texts are cut at their field and filled with zeros, octets copied, numbers converted. Any thread; a map is
// constant.
#pragma once

#include <arpa/inet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

#include "app_text.h"
#include "hal_record_desc.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"

class TableModule;
template <typename Row>
struct table_of;

// When a replay's set brings a column: the value at creation is what a create gives a card.
enum class MapReplay : uint8_t {
    DIFFERS, // from the column's value at creation
    NOT_ZERO,
    ZERO,
    IN_RANGE,    // low to high
    CREATE_ONLY, // never
};

struct MapLine {
    static constexpr int8_t NO_ATTRIBUTE = -1;
    static constexpr uint8_t NO_COLUMN = 0;

    uint8_t column = NO_COLUMN;      // number in the table
    int8_t attribute = NO_ATTRIBUTE; // bit of the mask
    const char* field = nullptr;     // name in the record; null: nothing is in the record
    void (*encode)(const void* row, void* record) = nullptr;
    void (*decode)(const void* record, void* row) = nullptr;
    bool (*condition)(const void* row) = nullptr;
    bool is_conditional = false; // known when compiling, which under sanitizers the address isn't
    MapReplay replay = MapReplay::DIFFERS;
    int32_t low = 0;
    int32_t high = 0;

    constexpr MapLine replayed(MapReplay when, int32_t least = 0, int32_t most = 0) const {
        MapLine line = *this;
        line.replay = when;
        line.low = least;
        line.high = most;
        return line;
    }
    constexpr MapLine create_only() const { return replayed(MapReplay::CREATE_ONLY); }
    constexpr MapLine applies_when(bool (*holds)(const void* row)) const {
        MapLine line = *this;
        line.condition = holds;
        line.is_conditional = true;
        return line;
    }
    constexpr bool has_attribute() const { return attribute != NO_ATTRIBUTE; }
};

// Which columns count for a mask, and what stands for those of them that no line gives a bit.
struct MapMask {
    unsigned first = 1; // columns in front of it count for no mask, whatever their lines say
    unsigned last = MIB_FLAGS_COLUMNS - 1;    // the same for columns behind it
    unsigned last_read = last;                // the same for the mask of a read
    int no_attribute = MapLine::NO_ATTRIBUTE; // bit for such a column; cards ignore it
};

// A map whose types are taken off: what walks many of them, such as a replay, sees.
class AnyMessageMap {
public:
    std::span<const MapLine> lines() const { return lines_; }
    const HalRecordDesc& record() const { return record_(); }

    // Fills a zeroed record.
    void encode(const void* row, void* record) const;
    // The same with the lines of no column alone: which object of the card is meant.
    void encode_address(const void* row, void* record) const;
    // The bits of a set of these columns.
    ov_bmp_t set_mask(const void* row, const MIB_Flags_t& columns) const;
    // The bits of a read of these columns.
    ov_bmp_t get_mask(const MIB_Flags_t& columns) const;
    // The bits that a replay's set of the row brings, for it differs there from what its create has given the
    // card.
    ov_bmp_t replay_mask(const void* row) const;
    // Takes the columns that a read asked for out of the card's answer.
    void decode(const void* record, void* row, const MIB_Flags_t& columns) const;

protected:
    constexpr AnyMessageMap(std::span<const MapLine> lines, MapMask mask, TableModule& (*table)(),
                            const HalRecordDesc& (*record)())
        : lines_(lines), mask_(mask), table_(table), record_(record) {
        const uint32_t marker = mask.no_attribute != MapLine::NO_ATTRIBUTE ? 1u << mask.no_attribute : 0;
        for (unsigned column = mask.first; column < MAPPED && column <= mask.last; ++column)
            bits_[column] = marker;
        for (const MapLine& line : lines) {
            if (!line.has_attribute())
                continue;
            if (bits_[line.column] == marker)
                bits_[line.column] = 0;
            bits_[line.column] |= 1u << line.attribute;
            conditional_ |= line.is_conditional ? 1u << line.attribute : 0;
        }
    }

private:
    static constexpr unsigned MAPPED = 64; // columns that a map may name

    uint32_t bits_of(const MIB_Flags_t& columns, unsigned last) const;

    std::span<const MapLine> lines_;
    MapMask mask_;
    TableModule& (*table_)();
    const HalRecordDesc& (*record_)();
    std::array<uint32_t, MAPPED> bits_ = {};
    uint32_t conditional_ = 0; // bits that a condition may take away
};

template <typename Row, typename Record>
class MessageMap : public AnyMessageMap {
public:
    constexpr MessageMap(std::span<const MapLine> lines, MapMask mask = {})
        : AnyMessageMap(lines, mask, &table_of<Row>::module, &hal_record_desc_of<Record>) {}

    // The record of a row and the mask of these columns; both need not be cleared before.
    void convert(const Row& row, Record& record, const MIB_Flags_t& columns, ov_bmp_t& mask) const {
        record = {};
        encode(&row, &record);
        mask = set_mask(&row, columns);
    }
};

// ---- the lines --------------------------------------------------------------------------------------

namespace message_map_detail {

template <typename Member>
struct member_of;
template <typename Object, typename Type>
struct member_of<Type Object::*> {
    using object = Object;
    using type = Type;
};
template <auto member>
using object_of = typename member_of<decltype(member)>::object;
template <auto member>
using type_of = typename member_of<decltype(member)>::type;

template <typename Number>
constexpr auto plain(const Number& number) {
    if constexpr (std::is_arithmetic_v<Number> || std::is_enum_v<Number>)
        return number;
    else
        return number.value(); // held as on the wire
}
template <typename Number>
using plain_t = decltype(plain(std::declval<Number>()));

template <typename Target, typename Source>
void put(Target& target, const Source& source) {
    if constexpr (std::is_same_v<std::remove_extent_t<Target>, char>) {
        set_text(target, text_in(source));
    } else if constexpr (std::is_array_v<Target>) {
        static_assert(sizeof target == sizeof source, "octets that are longer on one side");
        std::memcpy(target, source, sizeof target);
    } else {
        target = static_cast<plain_t<Target>>(plain(source));
    }
}

template <auto column, auto field>
void encode(const void* row, void* record) {
    put(static_cast<object_of<field>*>(record)->*field, static_cast<const object_of<column>*>(row)->*column);
}
template <auto column, auto field>
void decode(const void* record, void* row) {
    put(static_cast<object_of<column>*>(row)->*column, static_cast<const object_of<field>*>(record)->*field);
}
template <auto column, auto field>
void decode_ipv4(const void* record, void* row) {
    static_cast<object_of<column>*>(row)->*column =
        htonl(plain(static_cast<const object_of<field>*>(record)->*field));
}
template <auto column, auto field, auto convert>
void encode_as(const void* row, void* record) {
    static_cast<object_of<field>*>(record)->*field =
        static_cast<plain_t<type_of<field>>>(convert(static_cast<const object_of<column>*>(row)->*column));
}
template <typename Row, auto field, auto value>
void encode_value(const void* row, void* record) {
    static_cast<object_of<field>*>(record)->*field =
        static_cast<plain_t<type_of<field>>>(value(*static_cast<const Row*>(row)));
}
template <typename Row, typename Record, auto fill>
void encode_into(const void* row, void* record) {
    fill(*static_cast<const Row*>(row), *static_cast<Record*>(record));
}
template <typename Row, typename Record, auto take>
void decode_into(const void* record, void* row) {
    take(*static_cast<const Record*>(record), *static_cast<Row*>(row));
}
template <typename Row, auto holds>
bool condition(const void* row) {
    return holds(*static_cast<const Row*>(row));
}

} // namespace message_map_detail

#define MAP(name, record_field, bit)                                                                         \
    MapLine {                                                                                                \
        .column = column::name, .attribute = (bit), .field = #record_field,                                  \
        .encode = &message_map_detail::encode<&Row::name, &Record::record_field>,                            \
        .decode = &message_map_detail::decode<&Row::name, &Record::record_field>,                            \
    }
#define MAP_AS(name, record_field, bit, convert)                                                             \
    MapLine {                                                                                                \
        .column = column::name, .attribute = (bit), .field = #record_field,                                  \
        .encode = &message_map_detail::encode_as<&Row::name, &Record::record_field, convert>,                \
    }
#define MAP_INTO(name, record_field, bit, fill)                                                              \
    MapLine {                                                                                                \
        .column = column::name, .attribute = (bit), .field = #record_field,                                  \
        .encode = &message_map_detail::encode_into<Row, Record, fill>,                                       \
    }
#define UNMASKED(name, record_field) MAP(name, record_field, MapLine::NO_ATTRIBUTE)
#define UNMASKED_IPV4(name, record_field) MAP_AS(name, record_field, MapLine::NO_ATTRIBUTE, ntohl)
#define MASK_ONLY(name, bit)                                                                                 \
    MapLine {                                                                                                \
        .column = column::name, .attribute = (bit)                                                           \
    }
#define WIRE_ONLY(record_field, value)                                                                       \
    MapLine {                                                                                                \
        .field = #record_field,                                                                              \
        .encode = &message_map_detail::encode_value<Row, &Record::record_field, value>,                      \
    }
#define WIRE_INTO(record_field, fill)                                                                        \
    MapLine {                                                                                                \
        .field = #record_field, .encode = &message_map_detail::encode_into<Row, Record, fill>,               \
    }
#define READ_ONLY(name, record_field)                                                                        \
    MapLine {                                                                                                \
        .column = column::name, .field = #record_field,                                                      \
        .decode = &message_map_detail::decode<&Row::name, &Record::record_field>,                            \
    }
#define READ_INTO(name, record_field, take)                                                                  \
    MapLine {                                                                                                \
        .column = column::name, .field = #record_field,                                                      \
        .decode = &message_map_detail::decode_into<Row, Record, take>,                                       \
    }
#define READ_IPV4(name, record_field)                                                                        \
    MapLine {                                                                                                \
        .column = column::name, .field = #record_field,                                                      \
        .decode = &message_map_detail::decode_ipv4<&Row::name, &Record::record_field>,                       \
    }
// What .applies_when() takes.
#define ROW_IS(holds) (&message_map_detail::condition<Row, holds>)
