// What the SNMP library has for a connection to the master agent: a transport on which it never waits.
//
// The library opens, registers, pings and closes synchronously, and its own transports wait in connect(). A
// master that is stopped or slow would hold the whole daemon. This transport takes their place, however the
// master's address is written (agentx_address.h), and stands between the library and the connection
// (agentx_master.h):
//
//   - the session with the master is opened before the library gets the transport: until then there is no
//     master for it, and it asks again after AGENTX_PING_SECONDS. One pass of the event loop spends
//     AGENTX_PASS_MS on that at most; the attempt goes on behind it, and the next finds how far it has come;
//   - what the library asks of the master goes out, and is answered here and at once. The master's own answer
//     comes when it comes; a refusal is logged;
//   - what the master sends is looked at first (agentx_pdu.h): the library would trust it. Requests for
//   values
//     go to the answerer, if there is one; the library gets what that leaves, and all else.
//
// PDUs are handed over one at a time: the next, or the end of the connection, not before the library is done
// with what it has, since it would use memory that it has freed. Event loop's thread.
#pragma once

#include <cstdint>
#include <span>

#include "agentx_master.h"

// Where the master listens unless the library's configuration ("agentXSocket ADDRESS") says otherwise.
inline constexpr char AGENTX_MASTER_SOCKET[] = "/var/agentx/master";

// Wait for a new session, in one pass of the event loop. Milliseconds.
inline constexpr int AGENTX_PASS_MS = 200;
// Time between two signs of life to the master, and between two attempts to connect. Seconds.
inline constexpr int AGENTX_PING_SECONDS = 3;

// Makes this transport the one that the library uses for AgentX. Between init_agent() and init_snmp().
void agentx_link_init();

// Answers a Get, GetNext or GetBulk of the session: true with the whole Response, false, whatever is in there
// then, to let the library do it.
using AgentxAnswerer = bool(std::span<const uint8_t> request, AgentxPdu& response);
// Lets these requests be offered to it before the library gets them; null as at start, for the library alone.
// One is offered when those before it have been answered.
void agentx_link_set_answerer(AgentxAnswerer* answerer);

// ---- sets that take long ----------------------------------------------------------------------------------
//
// What a CommitSet sets off may take longer than one event of the loop should. It is held then, and all that
// the master has sent behind it but its answers to notifications: the library gets it when the work is done,
// and answers it as ever.
//
// How long the master waits isn't ours to say; Net-SNMP's takes no notice of the limits that a subagent may
// ask for (RFC 2741, 6.2.1 and 6.2.3). One that has waited enough sends an UndoSet, ends the connection, or
// does both: the CommitSet is dropped then, and the library undoes the set, or sees the end.

// Asked about a CommitSet of the session that is next: true holds it.
using AgentxHold = bool();
// Null as at start: none is held.
void agentx_link_set_hold(AgentxHold* hold);
// The held one goes on when the loop comes round. Never within AgentxHold; does nothing if none is held.
void agentx_link_go_on();

// ---- for the event loop -----------------------------------------------------------------------------------

// The socket of the connection, -1 without one; what it is to be watched for; whether the master owes us an
// answer, or the taking of what was sent.
int agentx_link_socket();
bool agentx_link_wants_to_read();
bool agentx_link_wants_to_write();
bool agentx_link_is_owed();
// The socket can be read, can be written to; the time for a look whether the master is still there.
void agentx_link_receive();
void agentx_link_flush();
void agentx_link_check_silence();
// The library's descriptor, -1 while it has no transport; and whether there is something for it.
int agentx_link_fd();
bool agentx_link_has_input();
// Whether it gets that now, or when it is done with what it has.
bool agentx_link_can_hand_over();
// Lets the loop come back to the descriptor if there is something.
void agentx_link_wake();
// The library has nothing left to read, its inner connections included: what it was given is done with.
void agentx_link_idle();

// ---- for notifications ------------------------------------------------------------------------------

// Whether something more can be sent that nobody waits for: the master has taken what there was, and its
// queue isn't nearly full. Also true without a connection, when nothing is sent at all.
bool agentx_link_has_room();

// How many connections have come to an end: what was meant for the connection of an earlier number is lost.
// Any thread.
unsigned agentx_link_losses();

// Whether a request of this AgentX type (RFC 2741, 6.1: h.type) has an answer.
bool agentx_link_waits_for_answer(uint8_t pdu_type);
