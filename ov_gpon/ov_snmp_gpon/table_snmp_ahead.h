// What the application does ahead of a manager's set, where the set would hold the event loop for too long.
//
//   TestSet      the row is kept as the set is going to make it
//   CommitSet    begin; where that has something to do, the link holds the CommitSet (agentx_link.h)
//   ...          the application works in steps, or waits for a card, and the loop serves everybody
//   ready        the CommitSet goes on: checks and set chain run as ever, and find the work done
//   CleanupSet, UndoSet, or the master goes away: end
//
// A set that the master takes back while its CommitSet is held is never carried out.
//
// Event loop's thread.
#pragma once

#include <functional>
#include <vector>

#include "mmg_access.h"

class TableModule;

struct SnmpAhead {
    // The row as it is going to be, with the columns that the set names; valid for the call. False if there
    // is nothing to do: what the set then refuses, or waits for, it does as it always did. Else `ready` is to
    // be called once, later, unless end comes first; and end follows in any case.
    bool (*begin)(const void* row, const MIB_Flags_t& columns, std::function<void()> ready);
    // The set is over. Whether the row was taken stands in the application; of the set, its key is left.
    // Called under the table's mutex.
    void (*end)(const void* row);
};

// For sets on rows of a table (its registry index). Start-up; lives as long as the process.
void snmp_ahead_register(int table, const SnmpAhead& ahead);

// ---- for the phases of SET --------------------------------------------------------------------------------

bool snmp_ahead_is_wanted(const TableModule& module);
// RESERVE2; a repeated one replaces what was kept.
void snmp_ahead_keep(const TableModule& module, std::vector<char> row, const MIB_Flags_t& columns);
// AgentxHold: begins with all that is kept.
bool snmp_ahead_begin();
// The set on this table is over; all sets are.
void snmp_ahead_end(const TableModule& module);
void snmp_ahead_end_all();
