// What the SNMP library is told before and while it starts. Event loop's thread.
#pragma once

// The library as a subagent, set up and started: without signals, without files of its own, its log into the
// daemon's. The library's configuration file "quagga.conf" in /etc/snmp is read if it is there.
void agentx_setup_library();

// init_snmp(): reads the configuration and connects to the master. A library that runs already goes on as it
// is.
void agentx_start_library();
