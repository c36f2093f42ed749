// Reading and writing single columns of a record, for the engine's files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "table_desc.h"

// The engine's view of a record: its bytes. Callers' buffers needn't be aligned.
inline const char* record_bytes(const void* record) {
    return static_cast<const char*>(record);
}
inline char* record_bytes(void* record) {
    return static_cast<char*>(record);
}

template <typename Value>
inline Value record_get(const void* record, size_t offset) {
    Value value;
    std::memcpy(&value, record_bytes(record) + offset, sizeof(value));
    return value;
}
template <typename Value>
inline void record_put(void* record, size_t offset, Value value) {
    std::memcpy(record_bytes(record) + offset, &value, sizeof(value));
}

// Row status of a record, and its shadow.
inline int32_t row_status_of(const TableDesc& desc, const void* record) {
    return record_get<int32_t>(record, desc.row_status->offset);
}
inline int32_t old_row_status_of(const TableDesc& desc, const void* record) {
    return record_get<int32_t>(record, desc.row_status->old_offset);
}
inline void set_row_status(const TableDesc& desc, void* record, int32_t value) {
    record_put(record, desc.row_status->offset, value);
}
inline void set_old_row_status(const TableDesc& desc, void* record, int32_t value) {
    record_put(record, desc.row_status->old_offset, value);
}

// Characters of a text column, without the terminator.
inline size_t text_length(const ColumnDesc& column, const void* record) {
    return strnlen(record_bytes(record) + column.offset, column.limit);
}
// Fills a text column with zeros behind its text, so that equal texts are equal bytes.
inline void clear_behind_text(const ColumnDesc& column, void* record) {
    size_t length = text_length(column, record);
    std::memset(record_bytes(record) + column.offset + length, 0, column.size - length);
}
