// The table modules that tests run over: those of the hand-made tables and, of the system's own, all that
// exist.
#pragma once

#include <vector>

#include "engine_tables.h"

inline std::vector<TableModule*> all_modules() {
    crate_module();
    mix_module();
    gap_module();
    return {table_module_list().begin(), table_module_list().end()};
}
