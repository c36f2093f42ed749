// The table modules that tests run over: those of the hand-made tables and all of the system's own.
#pragma once

#include <vector>

#include "engine_tables.h"

#define OV_TABLE(table) TableModule& table_module_##table();
#include "table_list.def"
#undef OV_TABLE

inline std::vector<TableModule*> all_modules() {
    return {
        &crate_module(),
        &mix_module(),
        &gap_module(),
#define OV_TABLE(table) &table_module_##table(),
#include "table_list.def"
#undef OV_TABLE
    };
}
