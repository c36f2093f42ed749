// What the words in a table description (tables/<table>.def) mean. docs/tables.md explains the form to
// those who write one. Column types are in table_column_type.h.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "table_desc.h"

// ---- checks ---------------------------------------------------------------------------------------

// What a manager may write: the third word behind the type of a COLUMN line.
namespace column_check {
struct Check {
    bool bounded; // min and max hold
    bool named;   // the bounds are the least and the greatest of the column's NAME lines
    int64_t min;
    int64_t max;
};
// Whatever the type can hold.
inline constexpr Check ANY{false, false, 0, 0};
// The span of the column's NAME lines.
inline constexpr Check NAMED{true, true, 0, 0};
consteval Check RANGE(int64_t min, int64_t max) {
    return {true, false, min, max};
}
} // namespace column_check

// ---- defaults -------------------------------------------------------------------------------------

// The value of a column in a blank row: a number (an address in host order) or a text. Write 0 for the
// zero bytes of a binary.
struct ColumnDefault {
    template <std::integral T>
    consteval ColumnDefault(T value) : number(value) {}
    consteval ColumnDefault(const char* value) : text(value) {}

    int64_t number = 0;
    const char* text = "";
};

// ---- from lines to descriptors --------------------------------------------------------------------

// The lines of a description, as table_descriptor.inc turns them into data.
struct TableLine {
    enum Kind : uint8_t { INDEX, NAMES_OF, COLUMN, SECRET, NAME };

    ColumnDesc column{}; // of INDEX and COLUMN; for NAMES_OF its name only
    ColName name{};      // of NAME
    Kind kind;
    bool named = false; // of COLUMN: the bounds come from the names
};

constexpr bool same_name(const char* a, const char* b) {
    for (; *a != '\0' && *a == *b; a++, b++) {
    }
    return *a == *b;
}

constexpr size_t text_length(const char* text) {
    size_t length = 0;
    while (text[length] != '\0')
        length++;
    return length;
}

// The bounds that follow from a type alone. A 64-bit counter has no bound that matters.
constexpr int64_t type_min(ColType type) {
    switch (type) {
    case ColType::INT:
        return std::numeric_limits<int32_t>::min();
    case ColType::ROWSTATUS:
        return 1;
    default:
        return 0;
    }
}
constexpr int64_t type_max(ColType type, uint16_t limit) {
    switch (type) {
    case ColType::INT:
        return std::numeric_limits<int32_t>::max();
    case ColType::UINT:
    case ColType::IPADDR:
        return std::numeric_limits<uint32_t>::max();
    case ColType::COUNTER64:
        return std::numeric_limits<int64_t>::max();
    case ColType::TEXT:
    case ColType::BIN:
        return limit;
    case ColType::ROWSTATUS:
        return 6;
    }
    return 0;
}

template <class Type>
consteval ColumnDesc describe_column(const char* name, unsigned number, ColAccess access, size_t offset,
                                     size_t old_offset, column_check::Check check, ColumnDefault dflt) {
    return {.name = name,
            .number = static_cast<uint8_t>(number),
            .type = Type::type,
            .access = access,
            .offset = static_cast<uint16_t>(offset),
            .old_offset = static_cast<uint16_t>(old_offset),
            .size = static_cast<uint16_t>(sizeof(typename Type::storage)),
            .limit = Type::limit,
            .min = check.bounded ? check.min : type_min(Type::type),
            .max = check.bounded ? check.max : type_max(Type::type, Type::limit),
            .names = {},
            .dflt = dflt.number,
            .dflt_text = dflt.text};
}

// An INDEX tuple: (name, type) for an index object of another table, (name, type, number) for one of this
// table, which managers can't read, (name, type, number, READ_ONLY) for one that they can.
template <class Type>
consteval TableLine index_line(const char* name, size_t offset, unsigned number = 0,
                               ColAccess access = ColAccess::NOT_ACCESSIBLE) {
    return {
        describe_column<Type>(name, number, access, offset, 0, column_check::ANY, 0), {}, TableLine::INDEX};
}

template <class Type>
consteval TableLine column_line(const char* name, unsigned number, ColAccess access, size_t offset,
                                size_t old_offset, column_check::Check check, ColumnDefault dflt) {
    return {describe_column<Type>(name, number, access, offset, old_offset, check, dflt),
            {},
            TableLine::COLUMN,
            check.named};
}

consteval TableLine names_of_line(const char* name) {
    TableLine line{{}, {}, TableLine::NAMES_OF};
    line.column.name = name;
    return line;
}

consteval TableLine secret_line() {
    return {{}, {}, TableLine::SECRET};
}

consteval TableLine name_line(const char* name, int32_t value) {
    return {{}, {value, name}, TableLine::NAME};
}

template <size_t N>
consteval size_t count_lines(const TableLine (&lines)[N], TableLine::Kind kind) {
    return static_cast<size_t>(
        std::count_if(lines, lines + N, [kind](const TableLine& line) { return line.kind == kind; }));
}

// All names of a table, in the order of the lines.
template <size_t COUNT, size_t N>
consteval std::array<ColName, COUNT> collect_names(const TableLine (&lines)[N]) {
    std::array<ColName, COUNT> names{};
    size_t at = 0;
    for (const TableLine& line : lines)
        if (line.kind == TableLine::NAME)
            names[at++] = line.name;
    return names;
}

// The descriptors of the INDEX or the COLUMN lines, with the names that stand behind them. `names` must be
// what collect_names gave, in static storage.
template <size_t COUNT, size_t N, size_t NAMES>
consteval std::array<ColumnDesc, COUNT> collect_columns(const TableLine (&lines)[N], TableLine::Kind kind,
                                                        const std::array<ColName, NAMES>& names) {
    std::array<ColumnDesc, COUNT> columns{};
    size_t filled = 0;
    size_t name_at = 0;
    ColumnDesc* current = nullptr; // whose names come now; null for those of a column of the other kind
    bool bounds = false;
    for (const TableLine& line : lines) {
        if (line.kind == kind) {
            columns[filled] = line.column;
            current = &columns[filled++];
            bounds = line.named;
        } else if (line.kind == TableLine::NAMES_OF) {
            current = nullptr;
            for (size_t i = 0; i < filled; i++)
                if (same_name(columns[i].name, line.column.name))
                    current = &columns[i];
            bounds = false;
        } else if (line.kind == TableLine::SECRET) {
            if (current != nullptr)
                current->secret = true;
        } else if (line.kind != TableLine::NAME) {
            current = nullptr;
        } else if (const size_t at = name_at++; current != nullptr) {
            const size_t count = current->names.size();
            current->names = {names.data() + (at - count), count + 1};
            if (bounds) {
                current->min =
                    count == 0 ? line.name.value : std::min<int64_t>(current->min, line.name.value);
                current->max =
                    count == 0 ? line.name.value : std::max<int64_t>(current->max, line.name.value);
            }
        }
    }
    return columns;
}

template <size_t N>
consteval uint16_t key_bytes(const std::array<ColumnDesc, N>& index) {
    uint16_t bytes = 0;
    for (const ColumnDesc& column : index)
        bytes = static_cast<uint16_t>(bytes + column.size);
    return bytes;
}

template <size_t N>
consteval const ColumnDesc* find_row_status(const std::array<ColumnDesc, N>& columns) {
    for (const ColumnDesc& column : columns)
        if (column.type == ColType::ROWSTATUS)
            return &column;
    return nullptr;
}

// ---- checks of a whole description, for static_assert ----------------------------------------------

constexpr size_t alignment_of(ColType type) {
    switch (type) {
    case ColType::TEXT:
    case ColType::BIN:
        return 1;
    case ColType::COUNTER64:
        return 8;
    default:
        return 4;
    }
}

// Column numbers ascend, and so do those of the table's own index columns in front of them. A number above
// 127 would be in no column mask.
consteval bool numbers_ascend(const TableDesc& table) {
    int last = 0;
    for (const ColumnDesc& column : table.index) {
        if (column.number != 0 && column.number <= last)
            return false;
        last = std::max<int>(last, column.number);
    }
    for (const ColumnDesc& column : table.columns) {
        if (column.number <= last || column.number > 127)
            return false;
        last = column.number;
    }
    return true;
}

consteval bool has_one_row_status(const TableDesc& table) {
    return std::count_if(table.columns.begin(), table.columns.end(),
                         [](const ColumnDesc& column) { return column.type == ColType::ROWSTATUS; }) == 1;
}

// The record is the index columns, the columns and the shadows in this order, with no gaps but those that
// the alignment of the types asks for: the store, the table files and the line cards rely on it.
consteval bool layout_follows_form(const TableDesc& table) {
    size_t end = 0;
    size_t widest = 4;
    auto place = [&end, &widest](const ColumnDesc& column, size_t offset) {
        const size_t align = alignment_of(column.type);
        const size_t expected = (end + align - 1) / align * align;
        end = expected + column.size;
        widest = std::max(widest, align);
        return offset == expected;
    };
    for (const ColumnDesc& column : table.index)
        if (column.size != 4 || !place(column, column.offset))
            return false;
    if (end != table.key_size)
        return false;
    for (const ColumnDesc& column : table.columns)
        if (!place(column, column.offset))
            return false;
    for (const ColumnDesc& column : table.columns)
        if (!place(column, column.old_offset))
            return false;
    return (end + widest - 1) / widest * widest == table.entry_size;
}

// No column may be written in a wider way than its table; a default is of the column's type and fits.
consteval bool access_fits(const TableDesc& table, ColAccess widest) {
    for (const ColumnDesc& column : table.columns)
        if (column.access > widest)
            return false;
    return true;
}

consteval bool defaults_fit(const TableDesc& table) {
    for (const ColumnDesc& column : table.columns) {
        const bool is_text = column.type == ColType::TEXT;
        const bool only_zero = is_text || column.type == ColType::BIN || column.type == ColType::ROWSTATUS;
        if (text_length(column.dflt_text) > (is_text ? column.limit : 0))
            return false;
        if (column.dflt != 0 && (only_zero || column.dflt < column.min || column.dflt > column.max))
            return false;
    }
    return true;
}

// Secrets are texts, and none is part of an index.
consteval bool secrets_are_texts(const TableDesc& table) {
    auto fits = [](const ColumnDesc& column) { return !column.secret || column.type == ColType::TEXT; };
    return std::none_of(table.index.begin(), table.index.end(),
                        [](const ColumnDesc& column) { return column.secret; }) &&
           std::all_of(table.columns.begin(), table.columns.end(), fits);
}

// Names of a column ascend in value.
consteval bool names_ascend(const TableDesc& table) {
    auto ascend = [](const ColumnDesc& column) {
        return std::adjacent_find(column.names.begin(), column.names.end(),
                                  [](const ColName& a, const ColName& b) { return a.value >= b.value; }) ==
               column.names.end();
    };
    return std::all_of(table.index.begin(), table.index.end(), ascend) &&
           std::all_of(table.columns.begin(), table.columns.end(), ascend);
}
