// Heartbeats to the platform's process monitor: the sender's process id, 4 bytes in host order, as one
// datagram to the Unix socket /tmp/uds_hb.socket.
//
// Heartbeats never stop the daemon: what fails is logged at most and tried again at the next call. Event
// loop's thread only; nothing here waits.
#pragma once

#include <ctime>
#include <sys/types.h>

enum ENUM_HB_ROLE {
    HB_ROLE_MONITOR = 0, // binds the socket and receives
    HB_ROLE_CLIENT = 1,  // sends
};

inline constexpr char HB_SOCKET_PATH[] = "/tmp/uds_hb.socket";
inline constexpr int HB_PERIOD = 15; // seconds

// Opens the socket of a role: non-blocking, and for the monitor bound in the place of an old file. Does
// nothing when it is open. 0 or an errno.
int init_uds_hb(ENUM_HB_ROLE role);

// One turn of a role; the call that finds the socket closed opens it and does no more.
//   client:  sends a heartbeat when HB_PERIOD has passed since the last one (or since the opening); a
//            clock that went back starts the period anew. Gives the own process id when one was sent.
//   monitor: reads one heartbeat and gives the sender's process id.
// 0 when nothing was sent or received. A socket error other than "nothing there" (monitor) and "no
// monitor" (client, ECONNREFUSED) closes the socket.
pid_t hb_uds_task(const char* appName, ENUM_HB_ROLE role);

// Sends a heartbeat now, opening the client's socket first if need be: the form for a caller with a timer
// of its own. Gives the own process id, or 0 when the heartbeat couldn't be sent. Without a monitor
// (ECONNREFUSED) it says nothing; other failures are logged once a heartbeat has ever gone out.
pid_t hb_uds_task_client(const char* appName);

// Replaces time() as the clock of hb_uds_task; for tests. Null takes it back.
void hb_uds_set_clock(time_t (*clock)(time_t*));
