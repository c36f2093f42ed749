#include "sExampleTable.h"
#define TABLE_NAME sExampleTable
#define TABLE_DEF "sExampleTable.def"
#include "table_descriptor.inc"
#include "table_module.inc"
#undef TABLE_DEF
#undef TABLE_NAME
