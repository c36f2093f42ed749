// The table initialisers, as sTableInit calls them: void functions that report failures in the log only.
// Main thread, start-up only, before any callback is registered.
#pragma once

#define OV_TABLE_INIT(function) void function();
#include "table_init_list.def"
#undef OV_TABLE_INIT
