// The task that fetches the counters of the UNIs (sRmUniPmTable): once in 15 minutes all rows of the table,
// ONU by ONU, at a pace that spreads the ONUs over the cycle. Each tick sends one request at most, for eight
// UNIs of one ONU at most; further UNIs of an ONU get nothing.
//
// What is still to be fetched stands in two stores of rows, without a file and without callbacks: those of
// the cycle (SRMUNIPMPON), and those of the ONU in hand (SRMUNIPMONU). A cycle that begins while one runs
// starts over with all rows, and both tick until they are through.
//
// Main loop only; the table's mutex keeps the thread of long actions out.
#pragma once

#include <cstdint>

inline constexpr unsigned RM_UNI_PM_CYCLE_SECONDS = 900;
inline constexpr int RM_UNI_PM_UNIS = 8; // of a request

// Makes the two stores and starts the cycle. Start-up, in its place of the list.
void ov_app_gpon_rmunipm_task_init();

// ---- alarms of the SNMP library: their number, and nothing ----------------------------------------------

// The cycle: takes all rows over and starts the ticks.
void rm_uni_pm_900s_cycle_task(unsigned int clientreg, void* clientarg);
// A tick: fetches the counters of the next ONU; behind the last it ends the ticks and saves the table's file.
void rm_uni_pm_onu_task(unsigned int clientreg, void* clientarg);

// ---- their steps -----------------------------------------------------------------------------------------

// Fills SRMUNIPMPON with all rows: how many ONUs they belong to, which is the figure that the pace goes by.
// Rows that follow each other with the same port and ONU count as one ONU, whatever their slot.
int pm_clone_whole_mib();

enum PmOnuTaken : int32_t {
    PM_ONU_TAKEN = 1, // and there are more
    PM_ONU_LAST = 2,
    PM_ONU_NONE = 3, // the cycle is over
};
// Moves the rows of the next ONU from SRMUNIPMPON to SRMUNIPMONU.
PmOnuTaken pm_get_one_onu_mib();

// Makes the request for the rows of SRMUNIPMONU that are in the table still. `mask` gets a bit for each UNI.
// How many they are; 0 also when their ONU isn't there; -1 when it isn't in operation.
int pm_prepare_one_onu_request(uint32_t* mask);
// Writes what has been fetched (`valid` 1), or that nothing could be, into the rows of these UNIs, with the
// quarter of an hour that is over.
void save_pm_data_to_mib(const uint32_t* mask, int valid);
