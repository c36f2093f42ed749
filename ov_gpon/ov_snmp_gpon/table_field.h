// One column of a record as a field of a table file.
//
//   signed, row status, address   "%ld"  of 32 bits; an address as the number that its four bytes make,
//                                 most significant first (192.168.1.1 is -1062731519)
//   unsigned                      "%lu"  of 32 bits
//   64-bit counter                "%llu"
//   text                          as it is, up to the terminator
//   binary                        two upper-case hex digits per byte
//
// No locale, no allocation: the daemon reads and writes a million rows.
#pragma once

#include <string_view>

#include "table_desc.h"

// Most characters that table_field_write puts down for a column, with room for a terminator.
size_t table_field_max(const ColumnDesc& column);
// Writes a column's field and returns its end.
char* table_field_write(char* to, const ColumnDesc& column, const void* record);

// Fills a column from a field, which holds neither NUL nor the field's end. Numbers are read as scanf does:
// leading white space, a sign, digits, anything behind them left alone; out of range they become the nearest
// number of their 32 (64) bits, and a field that is no number leaves the column as it is. Text is cut to the
// column; hex digits fill as many bytes as they make, up to the column's, and a wrong digit counts as 0.
void table_field_read(std::string_view field, const ColumnDesc& column, void* record);
