// Rows by table: one tree per table index, with the row operations that table modules use.
//
// `row` is a full entry record or, where only a key is wanted, its index columns. Returned rows belong to
// the store and are valid until that row is deleted. The caller holds the table's mutex (during start-up
// the main thread may do without). All functions take an identity or row that is null, or a table that has
// no tree, for an empty table: they return null or 0.
#pragma once

#include "mmg_definition.h"
#include "ptree.h"

extern PTREE data_Tree[MIB_TABLE_SLOTS];

// Makes the table's tree; its first key_size bytes are the index columns. A second call empties the table.
// Returns 1, or prints "failed patricia tree create\r" and returns 0.
char data_Init(MIBDID did, int key_size, int info_size);

int get_row_num(MIBDID did);
// A number that goes up by one whenever a row enters or leaves the table, and wraps around. The row whose
// index columns are all 0 isn't counted.
unsigned get_row_changes(MIBDID did);
// What the rows of a table take of memory, in bytes.
struct mmg_table_memory_t {
    unsigned rows = 0;
    unsigned record = 0;   // of each row: its columns
    unsigned index = 0;    // of each row beside them: links of the index, key image, rounding
    uint64_t reserved = 0; // address space that the table holds, for rows to come and rows that went as well
};
mmg_table_memory_t get_table_memory(MIBDID did);
// The first row, or null.
void* get_table_head(MIBDID did);

// Copies the row in and returns the stored row. If the key exists, prints "row_add fail: the row existed\r"
// and returns the existing row, untouched. Null without memory.
void* row_add(MIBDID did, void* row);
// The same, with the message left in the buffer of standard output: for many rows in one go. The caller
// flushes at the end.
void* row_add_buffered(MIBDID did, void* row);
// Deletes by key; 1, or 0 after printing "row_del fail: the row not exist\r".
char row_del(MIBDID did, void* row);
// Copies the row over the stored one; 1, or 0 after printing "row_update fail: the row not exist\r".
char row_update(MIBDID did, void* row);

// The row of this key, or null.
void* row_get(MIBDID did, void* row);
// Some row that agrees with the key in the bits that a search tests; see PTreeGetFuzzy.
void* row_get_fuzzy(MIBDID did, void* row);
// The first row with a greater key, or null. The key needn't exist; a null row gives the first row.
void* row_getNext(MIBDID did, void* row);
// The same from a row as it stands in the table: a result of the functions here, not a copy.
void* row_next_of(MIBDID did, const void* stored);
// A hint that this row and those behind it, so many in all, are read next. Rows that entered in key order
// lie one behind the other in memory and are fetched all at once; else it does nothing of use, and no harm.
void row_expect_next(MIBDID did, const void* stored, int rows);
