// The application initialisers, as sTableInit calls them. Main thread, start-up only, after all tables exist.
#pragma once

#define OV_APP_INIT(function) void function();
#include "app_init_list.def"
#undef OV_APP_INIT
