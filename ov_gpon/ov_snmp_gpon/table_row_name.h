// Rows by the names that operators know them by.
#pragma once

#include <cstddef>
#include <string>

#include "table_module.h"

// "sTcontTable gpon-onu1/1:1 T-CONT 1", "sPonTable gpon-olt1/1", "sBWProfileTable gold": the table, the port
// or ONU, and the index columns behind those. A profile is called by its name, when the record has one; the
// template rows of a service profile by its number.
std::string table_row_name(const TableModule& module, const void* row);
// The same from nothing but the index columns, which stand at the head of a record.
std::string table_key_name(const TableModule& module, const void* key);

// The access core's mib_row_namer; empty for a table without module.
void table_row_name(int registry_index, const void* row, char* text, size_t size);
