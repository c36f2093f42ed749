#include "byte_images.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "table_module.h"

#define OV_TABLE(table) TableModule& table_module_##table();
#include "table_list.def"
#undef OV_TABLE

namespace {

std::vector<TableModule*> all_tables() {
    return {
#define OV_TABLE(table) &table_module_##table(),
#include "table_list.def"
#undef OV_TABLE
    };
}

template <typename T>
void put(void* at, T value) {
    std::memcpy(at, &value, sizeof value);
}

template <typename T>
T limit_of(bool largest) {
    return largest ? std::numeric_limits<T>::max() : std::numeric_limits<T>::min();
}

// The smallest or the largest value that the column's type holds, whatever range it has for managers.
void put_limit(const ColumnDesc& column, void* row, bool largest) {
    auto* at = static_cast<unsigned char*>(row) + column.offset;
    switch (column.type) {
    case ColType::INT:
        return put(at, limit_of<int32_t>(largest));
    case ColType::UINT:
        return put(at, limit_of<uint32_t>(largest));
    case ColType::COUNTER64:
        return put(at, limit_of<uint64_t>(largest));
    case ColType::ROWSTATUS:
        return put(at, int32_t{1});
    case ColType::IPADDR: {
        const unsigned char address[4] = {largest ? uint8_t{192} : uint8_t{1}, 168, 3, 4};
        std::memcpy(at, address, sizeof address);
        return;
    }
    case ColType::TEXT:
        std::fill_n(at, largest ? column.limit : 0, 'x');
        return;
    case ColType::BIN:
        for (unsigned i = 0; i < column.limit; i++)
            at[i] = static_cast<unsigned char>(largest ? 0xFF - i : i);
        return;
    }
}

// A few rows below each other: every index column at its limits and with different bytes.
void add_rows(TableModule& table) {
    const TableDesc& desc = table.desc();
    for (const uint32_t base : {0x00000001u, 0x01020304u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        std::vector<uint32_t> index(desc.index.size(), base);
        for (size_t i = 1; i < index.size(); i++)
            index[i] += static_cast<uint32_t>(i);
        std::vector<unsigned char> key(desc.entry_size);
        table.set_index(key.data(), index);
        void* row = table.create_entry(key.data());
        for (const ColumnDesc& column : desc.columns)
            put_limit(column, row, base > 0x01020304u);
    }
}

void for_all_tables(const char* directory, void (*work)(TableModule&)) {
    setenv(MMG_MIB_DATA_DIR_ENV, directory, 1);
    for (TableModule* table : all_tables()) {
        table->initialize_table_data();
        table->load();
        work(*table);
        table->save_file();
    }
}

} // namespace

int save_table_images(const char* directory) {
    for_all_tables(directory, add_rows);
    return 0;
}

int resave_tables(const char* directory) {
    for_all_tables(directory, [](TableModule&) {});
    return 0;
}
