// The first process of the virtual machine: makes a Linux system of the kernel and the host's files.
#pragma once

// Mounts the host's root, read-only, as the root directory, with fresh file systems where programs write,
// loads the kernel's modules, and brings the loopback interface up. Ends the machine when something of it
// fails.
//
// From the kernel's command line: gpon.keep=DIR[:DIR...], directories of the host that stay visible although
// they lie below a fresh one; gpon.busybox=FILE, a program of this processor that becomes /bin/sh and the
// tools, for a host of another.
void boot();

// The descriptor of the serial port at whose other end the runner is.
int open_agent_port();

// Says why on the console and ends the machine.
[[noreturn]] void give_up(const char* what);
