// All tables that have a description, the dormant ones included.
#pragma once

#include <span>

#include "table_desc.h"

// The descriptions, in order of their names. Any thread.
std::span<const TableDesc* const> table_desc_list();
// The description of a table by its name ("sTcontTable"), or null. Any thread.
const TableDesc* table_desc_find(const char* name);
