#pragma once

// The way to libfrr: the only place that includes its headers, and the names that the daemon's
// start-up uses where the library spells them differently by now.
//
// The headers are C with guards for C++. They need the GNU dialect (typeof, statement
// expressions) and the library's config.h, which zebra.h includes on HAVE_CONFIG_H and which has
// to come before everything else of the library. They carry their own extern "C", so they must
// not be wrapped in one: frratomic.h includes <atomic>. config.h defines the names of the
// library's package (PACKAGE, VERSION), which are taken back here. zebra.h defines MIN and MAX.
//
// Everything here belongs to the event-loop thread.

#ifndef HAVE_CONFIG_H
#define HAVE_CONFIG_H 1
#endif

// The library's own headers first: config.h decides what the others see.
#include <frr/zebra.h>

#include <frr/buffer.h>
#include <frr/command.h>
#include <frr/libfrr.h>
#include <frr/log.h>
#include <frr/memory.h>
#include <frr/northbound_cli.h>
#include <frr/sigevent.h>
#include <frr/thread.h>
#include <frr/vector.h>
#include <frr/version.h>
#include <frr/vty.h>
#include <frr/zlog.h>
#include <frr/zlog_targets.h>

#undef PACKAGE
#undef PACKAGE_BUGREPORT
#undef PACKAGE_NAME
#undef PACKAGE_STRING
#undef PACKAGE_TARNAME
#undef PACKAGE_URL
#undef PACKAGE_VERSION
#undef VERSION

/// The daemon's number among the log's protocols.
enum zlog_proto_t { ZLOG_GPON = 33 };

/// Open the log of the program: to syslog under progname with the given facility, from debug
/// level on, each line with "<PROTOCOL>: " in front; warnings and worse also go to standard error.
/// @param progname      copied
/// @param protocol      chooses the word in front of each line
/// @param syslog_flags  LOG_* options of openlog(3)
/// @param facility      LOG_* facility of openlog(3)
void openzlog(const char* progname, zlog_proto_t protocol, int syslog_flags, int facility);

/// Set up the library's terminal server and what it leans on (its configuration store, without
/// any data model). A peer that hangs up shows as a failed write from here on, not as SIGPIPE.
/// Call once, behind cmd_init().
/// @param name  the daemon's name, put into "Unknown command" answers
void vty_init(struct thread_master* master, const char* name);

/// The library counts its memory without being asked.
inline void memory_init() {}

/// The library keeps its command trees in order without being asked.
inline void sort_node() {}

/// A row of a signal table: signal number, handler called from the event loop.
using quagga_signal_t = struct frr_signal_t;

/// An event handler of the daemon. The event loop has no use for what it returns; tests do.
using kavo_handler_t = int(struct thread*);

/// What the event loop calls for a kavo_handler_t.
template <kavo_handler_t* handler>
void kavo_handle(struct thread* thread) {
    handler(thread);
}

// The kavo_add_* calls are macros, so that "show thread" names the handler. Timers: kavo_timer.h.

/// kavo_add_read(master, handler, arg, fd, ref): call handler once when fd can be read.
/// @param arg  THREAD_ARG of the event; stays the caller's
/// @param ref  null, or where to keep the event (null there before the call: an event that is
///             already armed is left as it is); the library clears it when the event runs
#define kavo_add_read(master, handler, arg, fd, ref)                                                         \
    thread_add_read((master), kavo_handle<handler>, (arg), (fd), (ref))

/// Call handler once when the loop comes round, with THREAD_VAL val. arg, ref as above.
#define kavo_add_event(master, handler, arg, val, ref)                                                       \
    thread_add_event((master), kavo_handle<handler>, (arg), (val), (ref))
