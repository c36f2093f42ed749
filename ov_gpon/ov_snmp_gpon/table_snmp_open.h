// Sets of managers between their phases: what an undo needs, and what is to be done when the phases end.
//
// When the master agent goes away in the middle of a set, its last phase never comes. What the set has done
// so far is then brought to an end:
//
//   reserved    the row that it made goes, as in FREE
//   accepted    the application and the hardware have taken it: it is completed, as in COMMIT
//   refused     the row gets back what it held, as in UNDO
//
// Event loop's thread. The functions for one table are called under its mutex.
#pragma once

#include "table_snmp_request.h"

enum class SnmpSetState : uint8_t { RESERVED, ACCEPTED, REFUSED };

// Keeps what a row holds, before a set's first write to it; a repeated one finds it kept.
void snmp_open_keep(TableModule& module, const SnmpRowKey& key, const void* row);
// Notes where a set stands with a row, and the columns that it has written there.
void snmp_open_note(TableModule& module, const SnmpRowKey& key, SnmpSetState state,
                    const MIB_Flags_t& columns);
// Undoes a set: gives a row back all that was kept, also what callbacks filled in or cleared beside the
// columns that were named. The shadows of those are cleared. What others have changed since the callbacks ran
// (the state that a line card reported) stays.
void snmp_open_take_back(TableModule& module, const SnmpRowKey& key, void* row);
// The set on this table has ended.
void snmp_open_forget(const TableModule& module);

// Brings all open sets to their end.
void snmp_open_abandon();
// Lets the loss of the master do that. Once in the program.
void snmp_open_watch_master();
