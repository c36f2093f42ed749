// Readiness and signs of life to a service manager that asks for them, in the protocol of sd_notify(3): a
// datagram of assignments to the Unix socket that the environment variable NOTIFY_SOCKET names. On the
// platform, where nothing sets it, nothing is sent. Nothing here waits, and nothing that fails stops the
// daemon.
#pragma once

#include <chrono>
#include <string_view>

// Sends assignments, a line each ("READY=1\nSTATUS=..."). NOTIFY_SOCKET is a path, or "@" and an abstract
// name. Whether they were sent: false also when there is nobody to tell.
bool service_manager_tell(std::string_view assignments);

// How often "WATCHDOG=1" is to be sent: half of WATCHDOG_USEC (microseconds), a millisecond at least. 0 when
// nobody watches this process: the variable isn't set or no number, or WATCHDOG_PID is another process.
std::chrono::milliseconds service_watchdog_interval();
