// Three tables described by hand, for tests of the engine that shall not depend on any table of the system.
#pragma once

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>

#include "table_module.h"

// Columns in mask form.
inline MIB_Flags_t columns(std::initializer_list<unsigned> numbers) {
    MIB_Flags_t flags{};
    for (unsigned number : numbers)
        mib_flag_set(flags, number);
    return flags;
}

template <size_t N>
void set_text(char (&to)[N], const char* text) {
    strncpy(to, text, N - 1);
}

// Whether two records agree byte by byte.
inline bool same_bytes(const void* a, const void* b, size_t size) {
    return memcmp(a, b, size) == 0;
}

// The module of a description, made at first use.
template <const TableDesc& Desc>
TableModule& test_module();

template <const TableDesc& Desc>
struct TestFunctions {
    static void save_backdoor() { test_module<Desc>().save_file(); }
    static size_t meter(const void*) { return Desc.entry_size; }
    static int comparator(const void* a, const void* b) { return test_module<Desc>().compare_index(a, b); }
};

template <const TableDesc& Desc>
TableModule& test_module() {
    using Functions = TestFunctions<Desc>;
    static TableModule module(Desc, {Functions::save_backdoor, Functions::meter, Functions::comparator});
    return module;
}

#define TEST_INDEX(record, name_, column_type)                                                               \
    {                                                                                                        \
        .name = #name_, .number = 0, .type = ColType::column_type, .access = ColAccess::NOT_ACCESSIBLE,      \
        .offset = offsetof(record, name_), .old_offset = 0, .size = 4, .limit = 0, .min = 0, .max = 0,       \
        .names = {}, .dflt = 0, .dflt_text = ""                                                              \
    }

#define TEST_COLUMN(record, column_number, name_, column_type, limit_, default_, default_text)               \
    {                                                                                                        \
        .name = #name_, .number = (column_number), .type = ColType::column_type,                             \
        .access = ColAccess::READ_CREATE, .offset = offsetof(record, name_),                                 \
        .old_offset = offsetof(record, old_##name_), .size = sizeof(record::name_), .limit = (limit_),       \
        .min = 0, .max = 0, .names = {}, .dflt = (default_), .dflt_text = (default_text)                     \
    }

// ---- shaped like the T-CONT table: a key of 20 bytes, the row status last ------------------------------

struct CrateRow {
    int32_t shelfID;
    int32_t slotID;
    int32_t portID;
    int32_t onuId;
    uint32_t crateId;
    int32_t crateAlloc;     // 2
    char crateName[34];     // 3
    int32_t crateProfile;   // 4
    char crateProfName[66]; // 5
    int32_t crateRowStatus; // 6
    int32_t old_crateAlloc;
    char old_crateName[34];
    int32_t old_crateProfile;
    char old_crateProfName[66];
    int32_t old_crateRowStatus;
};

inline constexpr ColumnDesc CRATE_INDEX[] = {
    TEST_INDEX(CrateRow, shelfID, INT), TEST_INDEX(CrateRow, slotID, INT), TEST_INDEX(CrateRow, portID, INT),
    TEST_INDEX(CrateRow, onuId, INT), TEST_INDEX(CrateRow, crateId, UINT)};
inline constexpr ColumnDesc CRATE_COLUMNS[] = {
    TEST_COLUMN(CrateRow, 2, crateAlloc, INT, 0, 0, ""),
    TEST_COLUMN(CrateRow, 3, crateName, TEXT, 33, 0, ""),
    TEST_COLUMN(CrateRow, 4, crateProfile, INT, 0, 0, ""),
    TEST_COLUMN(CrateRow, 5, crateProfName, TEXT, 65, 0, ""),
    TEST_COLUMN(CrateRow, 6, crateRowStatus, ROWSTATUS, 0, 0, ""),
};
inline constexpr uint32_t CRATE_OID[] = {1, 1, 1, 1, 5, 1};
inline constexpr TableDesc CRATE_DESC = {.name = "crateTable",
                                         .registry_index = SSHELF,
                                         .oid = CRATE_OID,
                                         .rows = RowUse::STORED,
                                         .writable = true,
                                         .key_size = 20,
                                         .entry_size = sizeof(CrateRow),
                                         .index = CRATE_INDEX,
                                         .columns = CRATE_COLUMNS,
                                         .row_status = &CRATE_COLUMNS[4]};

inline CrateRow crate(int32_t shelf, int32_t slot, int32_t port, int32_t onu, uint32_t id) {
    CrateRow row{};
    row.shelfID = shelf;
    row.slotID = slot;
    row.portID = port;
    row.onuId = onu;
    row.crateId = id;
    return row;
}

// ---- every column type, defaults, the row status in the middle -----------------------------------------

struct MixRow {
    int32_t mixA;
    uint32_t mixB;
    uint64_t mixCount;       // 2
    uint32_t mixAddress;     // 3
    int32_t mixRowStatus;    // 4
    unsigned char mixMac[6]; // 5
    char mixText[16];        // 6
    uint32_t mixPort;        // 7
    int32_t mixMode;         // 8
    char mixType[34];        // 9
    uint64_t old_mixCount;
    uint32_t old_mixAddress;
    int32_t old_mixRowStatus;
    unsigned char old_mixMac[6];
    char old_mixText[16];
    uint32_t old_mixPort;
    int32_t old_mixMode;
    char old_mixType[34];
};

inline constexpr ColumnDesc MIX_INDEX[] = {TEST_INDEX(MixRow, mixA, INT), TEST_INDEX(MixRow, mixB, UINT)};
inline constexpr ColumnDesc MIX_COLUMNS[] = {
    TEST_COLUMN(MixRow, 2, mixCount, COUNTER64, 0, 0, ""),
    TEST_COLUMN(MixRow, 3, mixAddress, IPADDR, 0, 0x0A000001, ""),
    TEST_COLUMN(MixRow, 4, mixRowStatus, ROWSTATUS, 0, 0, ""),
    TEST_COLUMN(MixRow, 5, mixMac, BIN, 6, 0, ""),
    TEST_COLUMN(MixRow, 6, mixText, TEXT, 15, 0, ""),
    TEST_COLUMN(MixRow, 7, mixPort, UINT, 0, 4095, ""),
    TEST_COLUMN(MixRow, 8, mixMode, INT, 0, -1, ""),
    TEST_COLUMN(MixRow, 9, mixType, TEXT, 33, 0, "KLM-618"),
};
inline constexpr uint32_t MIX_OID[] = {1, 1, 1, 1, 9, 1};
inline constexpr TableDesc MIX_DESC = {.name = "mixTable",
                                       .registry_index = SFAN,
                                       .oid = MIX_OID,
                                       .rows = RowUse::STORED,
                                       .writable = true,
                                       .key_size = 8,
                                       .entry_size = sizeof(MixRow),
                                       .index = MIX_INDEX,
                                       .columns = MIX_COLUMNS,
                                       .row_status = &MIX_COLUMNS[2]};

// ---- column 1, an index column with a number among the columns, and a number that is no column ---------

struct GapRow {
    int32_t gapIndex;     // 2
    int32_t gapFirst;     // 1
    int32_t gapRowStatus; // 3
    int32_t gapLast;      // 5
    int32_t old_gapFirst;
    int32_t old_gapRowStatus;
    int32_t old_gapLast;
};

inline constexpr ColumnDesc GAP_INDEX[] = {{.name = "gapIndex",
                                            .number = 2,
                                            .type = ColType::INT,
                                            .access = ColAccess::NOT_ACCESSIBLE,
                                            .offset = 0,
                                            .old_offset = 0,
                                            .size = 4,
                                            .limit = 0,
                                            .min = 0,
                                            .max = 0,
                                            .names = {},
                                            .dflt = 0,
                                            .dflt_text = ""}};
inline constexpr ColumnDesc GAP_COLUMNS[] = {
    TEST_COLUMN(GapRow, 1, gapFirst, INT, 0, 0, ""),
    TEST_COLUMN(GapRow, 3, gapRowStatus, ROWSTATUS, 0, 0, ""),
    TEST_COLUMN(GapRow, 5, gapLast, INT, 0, 0, ""),
};
inline constexpr uint32_t GAP_OID[] = {1, 1, 1, 1, 8, 1};
inline constexpr TableDesc GAP_DESC = {.name = "gapTable",
                                       .registry_index = SSLOT,
                                       .oid = GAP_OID,
                                       .rows = RowUse::STORED,
                                       .writable = false,
                                       .key_size = 4,
                                       .entry_size = sizeof(GapRow),
                                       .index = GAP_INDEX,
                                       .columns = GAP_COLUMNS,
                                       .row_status = &GAP_COLUMNS[1]};

inline TableModule& crate_module() {
    return test_module<CRATE_DESC>();
}
inline TableModule& mix_module() {
    return test_module<MIX_DESC>();
}
inline TableModule& gap_module() {
    return test_module<GAP_DESC>();
}
