// The configuration of a PON port as a whole: copied to another port, cleared.
//
// A copy carries the rows of seventeen tables in their order, each by the ordinary doors of its table, with
// the columns that aren't at their default; a row that is refused is logged, and the copy goes on. A port
// that protects another refuses it row by row.
//
// Main loop only; all of it waits for the card.
#pragma once

#include <functional>

#include "ov_ifindex.h"

// Copies it all at once: the loop stands still for as long as the card needs. Always 0.
int ov_app_gpon_port_config_copy(ov_ifindex_t ponIfindex, ov_ifindex_t cp2Ifindex);

// Puts a port back to its defaults and removes its ONUs. 0, or OV_GPON_RET_FAIL for an index that isn't that
// of a PON port and for a port of a protection group.
int ov_app_gpon_port_config_clear(ov_ifindex_t Ifindex);

// The same two in steps, between which the loop serves others. `done` is called once, from a step and never
// from within these calls, nor when a port isn't to be cleared. What is started while another is under way
// begins when that is through. A copy that isn't wanted any more ends where it is.
void ov_app_gpon_port_config_copy_start(
    ov_ifindex_t ponIfindex, ov_ifindex_t cp2Ifindex, std::function<void()> done,
    std::function<bool()> is_wanted = [] { return true; });
int ov_app_gpon_port_config_clear_start(ov_ifindex_t Ifindex, std::function<void()> done);
// Works on what has been started, for about as long as one step does: for a session that has nothing better
// to do than to wait for its own.
void ov_app_gpon_port_config_go_on();

// Whether a port is as a new one is: settings, scheduler and profiles at their defaults. 1 when it is, 0 also
// for a port that isn't there.
int ov_app_gpon_olt_table_params_is_default_check(ov_ifindex_t ifindex);
