// What the command handlers use of modules that aren't there yet.
#pragma once

// Gates the debug lines of the QoS modules.
extern int g_gpon_qos_debug_flag;
