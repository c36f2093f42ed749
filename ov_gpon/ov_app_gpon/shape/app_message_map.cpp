#include "app_message_map.h"

#include <arpa/inet.h>

#include <algorithm>

#include "table_module.h"
#include "table_record.h"

namespace {

int64_t number_in(const ColumnDesc& column, const void* row) {
    switch (column.type) {
    case ColType::UINT:
        return record_get<uint32_t>(row, column.offset);
    case ColType::IPADDR:
        return ntohl(record_get<uint32_t>(row, column.offset));
    case ColType::COUNTER64:
        return static_cast<int64_t>(record_get<uint64_t>(row, column.offset));
    default:
        return record_get<int32_t>(row, column.offset);
    }
}

bool differs_from_default(const ColumnDesc& column, const void* row) {
    const char* value = record_bytes(row) + column.offset;
    if (column.type == ColType::TEXT)
        return std::strncmp(value, column.dflt_text, column.size) != 0;
    if (column.type == ColType::BIN)
        return std::any_of(value, value + column.size,
                           [&](char byte) { return byte != static_cast<char>(column.dflt); });
    return number_in(column, row) != column.dflt;
}

bool is_replayed(const MapLine& line, const ColumnDesc& column, const void* row) {
    switch (line.replay) {
    case MapReplay::DIFFERS:
        return differs_from_default(column, row);
    case MapReplay::NOT_ZERO:
        return number_in(column, row) != 0;
    case MapReplay::ZERO:
        return number_in(column, row) == 0;
    case MapReplay::IN_RANGE:
        return number_in(column, row) >= line.low && number_in(column, row) <= line.high;
    case MapReplay::CREATE_ONLY:
        break;
    }
    return false;
}

bool stands_for(const MapLine& line, const void* row) {
    return line.condition == nullptr || line.condition(row);
}

} // namespace

void AnyMessageMap::encode(const void* row, void* record) const {
    for (const MapLine& line : lines_)
        if (line.encode != nullptr && stands_for(line, row))
            line.encode(row, record);
}

void AnyMessageMap::encode_address(const void* row, void* record) const {
    for (const MapLine& line : lines_)
        if (line.column == MapLine::NO_COLUMN)
            line.encode(row, record);
}

uint32_t AnyMessageMap::bits_of(const MIB_Flags_t& columns, unsigned last) const {
    uint32_t bits = 0;
    for (unsigned column = mask_.first; column <= last && column < bits_.size(); ++column)
        if (mib_flag_is_set(columns, column))
            bits |= bits_[column];
    return bits;
}

ov_bmp_t AnyMessageMap::set_mask(const void* row, const MIB_Flags_t& columns) const {
    uint32_t bits = bits_of(columns, mask_.last);
    if ((bits & conditional_) != 0)
        for (const MapLine& line : lines_)
            if (line.has_attribute() && !stands_for(line, row))
                bits &= ~(1u << line.attribute);
    return static_cast<ov_bmp_t>(bits);
}

ov_bmp_t AnyMessageMap::get_mask(const MIB_Flags_t& columns) const {
    return static_cast<ov_bmp_t>(bits_of(columns, mask_.last_read));
}

ov_bmp_t AnyMessageMap::replay_mask(const void* row) const {
    // Columns stand in the order of their numbers, and lines nearly so: most are found where the last one
    // was.
    const auto& columns = table_().desc().columns;
    auto column = columns.begin();
    uint32_t bits = 0;
    for (const MapLine& line : lines_) {
        if (!line.has_attribute() || line.replay == MapReplay::CREATE_ONLY)
            continue;
        if (column == columns.end() || column->number > line.column)
            column = columns.begin();
        while (column != columns.end() && column->number < line.column)
            ++column;
        if (column != columns.end() && column->number == line.column && is_replayed(line, *column, row))
            bits |= 1u << line.attribute;
    }
    return static_cast<ov_bmp_t>(bits);
}

void AnyMessageMap::decode(const void* record, void* row, const MIB_Flags_t& columns) const {
    for (const MapLine& line : lines_)
        if (line.decode != nullptr && mib_flag_is_set(columns, line.column))
            line.decode(record, row);
}
