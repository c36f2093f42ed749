// The connection to the master agent: a Unix stream socket on which nothing can hold the event loop for long.
//
// The SNMP library opens, pings, closes and registers with the master synchronously, and its own Unix
// transport waits in connect() for as long as the master's queue of connections is full. A master that is
// stopped or slow would hold the whole daemon. This transport takes the library's place:
//
//   - connect() never waits; a master that doesn't take connections counts as absent;
//   - a request that the master left unanswered for AGENTX_REPLY_MS ends the connection: whatever the
//     library still wants to say on it fails at once (65 tables would wait one after the other);
//   - so does waiting longer than AGENTX_PASS_BUDGET_MS in sum during one pass of the event loop;
//   - so does a PDU that isn't one (agentx_pdu.h): the library would trust it.
//
// The library then connects again after AGENTX_PING_SECONDS.
//
// PDUs are handed over one at a time: the next, or the end of the connection, not before the library is done
// with what it has, since it would use memory that it has freed. Event loop's thread.
#pragma once

#include <cstdint>

// Where the master listens unless the library's configuration ("agentxsocket PATH") says otherwise.
inline constexpr char AGENTX_MASTER_SOCKET[] = "/var/agentx/master";

// Wait for the answer to one request, and for room in the socket. Milliseconds.
inline constexpr int AGENTX_REPLY_MS = 500;
// Wait for all answers during one pass of the event loop. Milliseconds.
inline constexpr int AGENTX_PASS_BUDGET_MS = 1200;
// Time between two signs of life to the master, and between two attempts to connect. Seconds.
inline constexpr int AGENTX_PING_SECONDS = 3;
// Descriptors from this number on have no place in the event array.
inline constexpr int AGENTX_FD_MAX = 1024;

// Makes this transport the one that the library uses for AgentX. Between init_agent() and init_snmp().
void agentx_link_init();

// Starts a new pass of the event loop: the budget for waiting is full again.
void agentx_link_new_pass();

// The library has nothing left to read, its inner connections included: what it was given is done with.
void agentx_link_idle();

// Whether something more can be sent that nobody waits for, without waiting for the master: its queue isn't
// nearly full. Also true without a connection, when nothing is sent at all.
bool agentx_link_has_room();

// How many connections have come to an end: what was meant for the connection of an earlier number is lost.
// Any thread.
unsigned agentx_link_losses();

// How often the connection to the master has been read or made anew: nobody has read it while this stays. It
// may wrap around.
unsigned agentx_link_reads();

// Whether this descriptor is that of the connection that stands.
bool agentx_link_is(int fd);

// Whether a request of this AgentX type (RFC 2741, 6.1: h.type) waits for the master's answer.
bool agentx_link_waits_for_answer(uint8_t pdu_type);
