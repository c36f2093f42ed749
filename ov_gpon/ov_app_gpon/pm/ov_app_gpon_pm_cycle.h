// The clockwork of the five families of counters: every quarter of an hour by UTC, one pass through each
// table, a different one in each slot of five seconds.
//
// Main loop only.
#pragma once

#include <array>

struct PmFamily;

// The five families, in the order of their slots, with a short name for people.
struct PmFamilyName {
    const char* name; // "pon", "onu", "gem", "nni", "uplink"
    const PmFamily* family;
};
extern const std::array<PmFamilyName, 5> ov_app_gpon_pm_families;

inline constexpr unsigned PM_TICK_SECONDS = 5;

// Starts the ticks. Start-up, with the module of PON ports.
void ov_app_gpon_pm_cycle_init();

// A tick; an alarm of the SNMP library. The minutes 0, 15, 30 and 45 count as a whole: their seconds 0 to 4
// are the slot of the PON ports, 5 to 9 of the ONUs, then GEM ports, network sides and uplink ports, and
// whatever tick falls into a slot begins its pass. Nobody notes that a slot has been served: a tick that is
// late may leave one out, whose interval lasts a quarter of an hour longer, or hit one twice.
void pm_5s_cycle_task(unsigned int clientreg, void* clientarg);
