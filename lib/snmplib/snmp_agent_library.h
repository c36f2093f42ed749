// The way to Net-SNMP: the only place that includes its headers.
//
// Its agent library belongs to the event loop's thread. Its integers are `long`: 8 bytes on this machine, 4
// on the target; nothing may depend on which.
#pragma once

#include <sys/types.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/agent_callbacks.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <net-snmp/agent/snmp_vars.h>
#include <net-snmp/library/large_fd_set.h>

// config.h of the library names its package.
#undef PACKAGE_BUGREPORT
#undef PACKAGE_NAME
#undef PACKAGE_STRING
#undef PACKAGE_TARNAME
#undef PACKAGE_URL
#undef PACKAGE_VERSION
