// The AgentX subagent (RFC 2741) on the daemon's event loop.
//
// The SNMP library wants a select() loop of its own; here its descriptors and its next timeout are events of
// the thread_master, so requests of managers, the library's alarms and everything else run one at a time.
// The connection to the master agent is the library's business: with no master the daemon works as well, and
// the alarms run.
//
// All functions belong to the event loop's thread, except where it says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kavo_frr.h"
#include "snmp.h"
#include "snmp_agent_library.h"

// Set to 1 around the library's read and timeout calls, else 0. The platform's build of the library looks at
// them; others don't.
extern "C" int agentx_read_flags;
extern "C" int agentx_timeout_flags;

// Sets the library up as a subagent and puts its events on the loop; called before any table is registered.
void smux_init(struct thread_master* tm);

// (Re)starts the connection to the master agent, when the controller says that it is up. Tables aren't
// registered again.
void snmp_agent_start();

// Brings the event set in line with what the library wants; called after every library activity. Any thread.
void agentx_snmp_update();

// Event of a descriptor that can be read: serves what has come in, then arms the events again. Returns 0.
int agentx_snmp_read(struct thread* thread);
// Event of the library's next timeout: resends, alarms. Waits for the next pass if requests are due. Returns
// 0.
int agentx_snmp_timeout(struct thread* t);

// 1 if a read event is due, but hasn't run yet; else 0. Any thread.
int agentx_snmp_read_ready();

// Logs each event that is added and removed: 1 on, 0 off (as at start).
void agentx_set_debug(int on);

// 1 when notifications may be sent: smux_init has run. Any thread.
int agentx_is_enabled();
// The loop given to smux_init, null before; and whether the caller runs on it (always, before). Any thread.
struct thread_master* agentx_loop();
bool agentx_is_on_loop();

// The alarms of the SNMP library: calls `callback` with the alarm's number and `arg` after `when` seconds or
// `period`, again and again with SA_REPEAT in `flags`. The alarm's number, 0 if it can't be had. In a test
// that has taken the timers (kavo_timer.h) they are that test's. The library counts from the moment; a loop
// that sleeps hears of them by agentx_snmp_update().
unsigned int agentx_alarm_register(unsigned int when, unsigned int flags, SNMPAlarmCallback* callback,
                                   void* arg);
unsigned int agentx_alarm_register_hr(timeval period, unsigned int flags, SNMPAlarmCallback* callback,
                                      void* arg);
// Takes an alarm back; an unknown number is ignored.
void agentx_alarm_unregister(unsigned int number);

// Hands a table of variables to the agent (register_mib of the library). `width` is the size of one element.
void smux_register_mib(const char* descr, struct variable* var, size_t width, int num, oid* name,
                       size_t namelen);

// ---- agentx_trap.cpp ----

// Sends the variables, snmpTrapOID.0 first, as an SNMPv2 notification (RFC 3416, 4.2.6) and frees them.
// Without a master agent it is dropped. Any thread: the library belongs to the loop's, which gets it from
// others.
void agentx_send_notification(netsnmp_variable_list* variables);

// One variable of a notification sent by smux_trap().
struct trap_object {
    int namelen; // arcs used in name; negative: the object alone, without the instance
    oid name[8]; // behind the prefix given to smux_trap
};

// Sends an SNMPv2 notification whose identity is `ename` with `sptrap` behind it, with the objects of
// trapobj: each is `name`, its own arcs and the instance `iname`, and its value is looked up in `vp`; what
// isn't found is left out. Returns 1, or 0 before smux_init, when nothing is sent. Nobody calls it: the
// notifications of the tables are built from their descriptions.
int smux_trap(struct variable* vp, size_t vp_len, const oid* ename, size_t enamelen, const oid* name,
              size_t namelen, const oid* iname, size_t inamelen, const struct trap_object* trapobj,
              size_t trapobjlen, uint8_t sptrap);

// ---- agentx.cpp, at its end ----

// The event handling that came with the agent frame, with a list of events instead of an array. Not started:
// only one of the two may feed the loop. Both return 0.
int agentx_read(struct thread* t);
int agentx_timeout(struct thread* t);
