#pragma once
#include "mmg_definition.h"

// A number that no table of the registry has.
inline constexpr int SEXAMPLE = 150;

#define TABLE_NAME sExampleTable
#define TABLE_DEF "sExampleTable.def"
#include "table_record.inc"
#undef TABLE_DEF
#undef TABLE_NAME
