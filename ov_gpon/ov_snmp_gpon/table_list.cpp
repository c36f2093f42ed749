#include "table_list.h"

#include <cstring>

#define OV_TABLE(table) extern const TableDesc table_desc_##table;
#include "table_list.def"
#undef OV_TABLE

static const TableDesc* const all_tables[] = {
#define OV_TABLE(table) &table_desc_##table,
#include "table_list.def"
#undef OV_TABLE
};

std::span<const TableDesc* const> table_desc_list() {
    return all_tables;
}

const TableDesc* table_desc_find(const char* name) {
    for (const TableDesc* table : all_tables)
        if (std::strcmp(table->name, name) == 0)
            return table;
    return nullptr;
}
