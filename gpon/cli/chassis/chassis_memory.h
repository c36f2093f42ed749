// What the process and its tables take of memory. Event loop's thread.
#pragma once

#include <cstdint>
#include <vector>

#include "table_module.h"

// Resident memory of the process, bytes; 0 where the kernel doesn't tell.
uint64_t process_resident_bytes();

struct ChassisTableMemory {
    const TableModule* table;
    mmg_table_memory_t memory;

    // What its rows take.
    uint64_t bytes() const { return uint64_t{memory.rows} * (memory.record + memory.index); }
};
// The tables that have rows, the one that takes most first.
std::vector<ChassisTableMemory> chassis_tables_by_memory();
