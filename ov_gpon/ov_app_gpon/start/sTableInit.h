// The start-up lists: all tables, then all application modules, then the save task.
#pragma once

#include <span>

// One entry of a start-up list; the name is for the log.
struct ov_init_step_t {
    const char* name;
    void (*init)();
};

// The 65 table initialisers and the 60 application initialisers, in their fixed order.
std::span<const ov_init_step_t> ov_table_init_list();
std::span<const ov_init_step_t> ov_app_init_list();

// Creates all tables (each loads its file), starts all application modules, starts the save task. All
// tables exist before the first callback is registered, so an application may register on tables that
// it doesn't own, and rows that come from files pass no callback.
void init_ovra_snmp_set();

// Adds the factory default rows through the normal add path; a row that can't be added is logged by its
// module and start-up goes on.
void init_ovra_gpon_table_default_set();
