// What the transport says about itself: the client's name, the debug switch, names of the words in a frame.
#pragma once

#include <cstdint>

#include "hal_msg.h"

enum pktmsg_topic : uint32_t {
    PKTMSG_TOPIC_MIN = 0,
    PKTMSG_TOPIC_SYS = 1,
    PKTMSG_TOPIC_PORT = 2,
    PKTMSG_TOPIC_L2IF = 3,
    PKTMSG_TOPIC_VLAN = 4,
    PKTMSG_TOPIC_L2FIB = 5,
    PKTMSG_TOPIC_ACL = 6,
    PKTMSG_TOPIC_MCAST = 7,
    PKTMSG_TOPIC_LAG = 8,
    PKTMSG_TOPIC_STP = 9,
    PKTMSG_TOPIC_ERPS = 10,
    PKTMSG_TOPIC_QOS = 11,
    PKTMSG_TOPIC_GPON = 12,
    PKTMSG_TOPIC_DCN = 13,
    PKTMSG_TOPIC_MLDS = 14,
    PKTMSG_TOPIC_MAX = 15,
};

enum pkt_app : uint32_t {
    PKT_APP_MIN,
    PKT_APP_SWITCH_AGT,
    PKT_APP_SWITCH_MGR,
    PKT_APP_MSTP,
    PKT_APP_LLDP,
    PKT_APP_LACP,
    PKT_APP_IGMP,
    PKT_APP_VRRP,
    PKT_APP_RSTP,
    PKT_APP_DOT1X,
    PKT_APP_PIMSM,
    PKT_APP_GVRP,
    PKT_APP_SNMP,
    PKT_APP_DHCP,
    PKT_APP_DHCPSNOOP,
    PKT_APP_MLDSNOOP,
    PKT_APP_GPON,
    PKT_APP_EQPT_MGR,
    PKT_APP_MAX,
};

// The name of a topic or of an application; "invalid" for the lower bound (0) and from the upper bound on.
const char* hal_pktmsg_topic_name(uint32_t topic);
const char* hal_pkt_app_name(uint32_t app);

// Remembers the name of this client; copied, at most 31 characters. Null is passed over.
void hal_debug_log_init(const char* name);
// That name; "NULL" before hal_debug_log_init.
const char* hal_get_app_name();

// The switch behind "debug" lines of frames.
void hal_debug_flag_set(int debug_flag);
int hal_debug_flag_get();

// Shows the words of a frame's head and of the message in it, at debug level. `frame` holds at least both heads.
void hal_debug_frame(const char* what, const hal_frame_t& frame);

// One synchronous send: to the application's log as well when it took longer than 50 ms. Allocates nothing as
// long as it is fast.
struct hal_send_timing {
    uint32_t len;
    uint32_t type;
    uint32_t seq; // running number of synchronous messages of this process
    uint32_t slot;
    uint32_t flags;
    uint64_t usec;
};
inline constexpr uint64_t HAL_SLOW_SEND_USEC = 50000;
void hal_debug_log_timing(const hal_send_timing& timing);
