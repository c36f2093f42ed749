// Start-up in its fixed order, and the event handlers of the daemon's connections and timers. Everything here
// runs on the event loop's thread.
#pragma once

#include <sys/types.h>

#include <array>

#include "kavo_frr.h"

// What the rest of the platform knows this daemon by: log, heartbeat, recovery stages, vty.
inline constexpr char GPON_NAME[] = "gpon";

inline constexpr unsigned short GPON_MONO_PORT = 30000;  // the system controller listens here
inline constexpr unsigned short GPON_SYNC_PORT = 30046;  // our end of the request connection
inline constexpr unsigned short GPON_ASYNC_PORT = 30047; // we listen here; also our feature id for recovery
inline constexpr long GPON_HEARTBEAT_SECONDS = 15;
inline constexpr char GPON_VTY_SOCKET[] = "/var/run/gpon.vty";
inline constexpr char GPON_VTY_SOCKET_ENV[] =
    "GPON_VTY_SOCKET"; // another place, for who may not write to /var/run

// The one event loop of the process, made at start and never destroyed.
extern struct thread_master* master;
extern pid_t pid;
extern const char* pid_file;

// Signals that the event loop could take: log, rotate the log, end. The table stands ready and isn't
// installed: SIGHUP, SIGINT and SIGTERM keep their default action, SIGUSR1 and SIGUSR2 belong to the
// application control files.
extern std::array<quagga_signal_t, 4> gpon_signals;

// The whole program: start-up, then the loop. Options are -d and --daemon; --help and --version are answered
// before anything is touched, and end the process with status 0; any other is ignored. Returns 0 when the
// loop ends; a failing step of the start ends the process with status 1.
int gpon_main(int argc, char** argv);

// An asynchronous connection of the controller has something to read: one message at most is taken and
// dispatched, and half of one waits for its rest, not the loop. A connection that fails is closed and not
// armed again, and the daemon goes on without it.
int gpon_read(struct thread* thread);
// The time of half a message is over.
int gpon_half_message(struct thread* thread);
// The controller opens a further asynchronous connection.
int gpon_serv(struct thread* thread);
// Every 15 seconds: the sign of life to the process monitor.
int gpon_heartbeat_timer(struct thread* thread);
// At half the interval of a service manager that watches: the sign of life to it. Never armed without one.
int gpon_watchdog_timer(struct thread* thread);
// A signal has asked for the control files to be looked at.
int gpon_ctrl_signal(struct thread* thread);
// A descriptor of the netlink transport has something to read; the TIPC transport polls on a timer of its own
// and doesn't arm this.
int gpon_nl_receive(struct thread* thread);
// Takes a received message of the transport and hands it on. Always 0.
unsigned gpon_nl_msg(unsigned type, void* buf, unsigned len);

// Tells the controller at which stages of a configuration replay this daemon wants to be called.
void gpon_register_recovery_seq();
