// The application initialisers, as sTableInit calls them, and the factory default rows. Main thread, start-up
// only, after all tables exist.
#pragma once

#define OV_APP_INIT(function) void function();
#include "app_init_list.def"
#undef OV_APP_INIT

// The factory default rows, added after the tables are loaded, through the normal add path: OV_GPON_RET_OK
// or the code of the refused add, which is logged and doesn't stop the start.
int ov_app_gpon_bwtype_add_default();
int ov_app_gpon_rm_traffic_add_default();
int ov_app_gpon_profile_onutype_add_default();
