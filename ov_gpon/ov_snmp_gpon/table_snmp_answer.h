// GET, GETNEXT and GETBULK of managers, answered from the master's PDU by the tables themselves.
//
// The agent library would read the PDU, send it to itself, sort its variables by table, and take each apart
// in its table helper: for a walk that is most of the work. Here the ranges are read, the rows found and the
// Response written in one go. What is in the Response, and which get callbacks run, is the same: those of a
// table once for all the variables that lead to it. Two things differ, both to the better: rows behind the
// end of a range aren't asked of a line card only to be left out, and the variables of a GetBulk don't leave
// their range either.
//
// Whatever is out of the ordinary is the library's: objects that aren't in our tables, contexts, flags,
// requests of very many variables, and all of them while its debugging is on.
//
// Event loop's thread; takes the mutexes of the tables.
#pragma once

#include <cstdint>
#include <span>

#include "agentx_pdu.h"

// AgentxAnswerer (agentx_link.h).
bool table_snmp_answer(std::span<const uint8_t> request, AgentxPdu& response);
