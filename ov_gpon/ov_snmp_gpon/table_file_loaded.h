// The second time that a start loads a table file.
//
// A start loads each file twice. The second time all rows are there already, and what comes of it is a line
// on standard output for each. As long as neither the file nor the table has changed in between, that can be
// told without taking the lines apart and looking for each row, which is half of the time of a start with a
// million rows.
//
// Under the table's mutex, or at start.
#pragma once

#include <cstdint>

#include "mmg_definition.h"
#include "table_file_io.h"

// The table has been loaded from what a reader gave with this checksum.
void table_loaded_note(MIBDID table, uint64_t checksum);

// The table's store begins anew: its next load is the first.
void table_loaded_forget(MIBDID table);

// Tells of each line of the file, up to `size` bytes, that its row exists. False, with nothing told and the
// file at its beginning, unless this is what the table was loaded from last, and no row came or went since.
bool table_loaded_tell_again(MIBDID table, const TableFile& file, uint64_t size);
