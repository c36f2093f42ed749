// What a table is, as data: everything that the engine knows of a table comes from here, and all of it comes
// from the table's description file tables/<table>.def.
//
// A record is the index columns, then the columns in order of their numbers, then a shadow old_<column> for
// each column that isn't an index. All values are in host order; IP addresses are in network order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

enum class ColType : uint8_t {
    INT,       // Integer32 or enumeration: int32_t
    UINT,      // Unsigned32, Gauge32, Counter32: uint32_t
    COUNTER64, // uint64_t, aligned to 8
    IPADDR,    // in_addr_t, network order
    TEXT,      // char[N + 1], terminated and zero-filled behind the text; at most N characters
    BIN,       // unsigned bytes of exactly N, without terminator
    ROWSTATUS, // RowStatus (RFC 2579): int32_t
};

// MAX-ACCESS of an object (RFC 2578, 7.3), as far as managers are concerned; the application layer writes any
// column.
enum class ColAccess : uint8_t { NOT_ACCESSIBLE, READ_ONLY, READ_WRITE, READ_CREATE };

// What a table's rows are to the system. Managers may write to a table with an application module as soon as
// that is there.
enum class RowUse : uint8_t {
    STORED,   // the table holds them, and that is all
    ACTED_ON, // an application module acts on them
    ON_CARDS, // an application module brings them to the line cards
};

// One named number of an enumeration (RFC 2578, 7.1.1).
struct ColName {
    int32_t value;
    const char* name; // as in the object's definition: "stage1"
};

struct ColumnDesc {
    const char* name; // of the record's field and of the object
    uint8_t number;   // SNMP column number; 0 for an index column that another table owns
    ColType type;
    ColAccess access;
    uint16_t offset;     // of the value in the record
    uint16_t old_offset; // of the shadow; 0 for an index column, which has none
    uint16_t size;       // bytes of storage
    uint16_t limit;      // TEXT and BIN: N; 0 otherwise
    int64_t min;         // smallest and largest value of a number; lengths of a text
    int64_t max;
    std::span<const ColName> names; // of an enumeration, in order of value; empty otherwise
    int64_t dflt;                   // of a number or address (host order)
    const char* dflt_text;          // of a text; "" when there is none, never null
    bool secret = false;            // a password or a key: no log and no dump shows it
};

struct TableDesc {
    const char* name;              // "sTcontTable": the module, its file, its SNMP registration
    int registry_index;            // STCONT
    std::span<const uint32_t> oid; // arcs of the table below the enterprise number
    RowUse rows;
    bool writable;       // managers may write; false registers the table read-only
    uint16_t key_size;   // bytes of the index columns
    uint16_t entry_size; // bytes of the whole record
    std::span<const ColumnDesc> index;
    std::span<const ColumnDesc> columns; // ascending numbers
    const ColumnDesc* row_status;
    // The columns that the agent registers the table for, where they aren't the first and last of `columns`:
    // a readable index column stands in front, or room is left behind. 0: as in `columns`.
    uint8_t first_registered = 0;
    uint8_t last_registered = 0;

    int min_column() const { return first_registered != 0 ? first_registered : columns.front().number; }
    int max_column() const { return last_registered != 0 ? last_registered : columns.back().number; }
    // The column of a number, or null: numbers have gaps, and index columns aren't columns here.
    const ColumnDesc* column(int number) const;
};
