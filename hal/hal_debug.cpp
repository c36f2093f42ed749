#include "hal_debug.h"

#include <array>
#include <cstdio>

#include "ov_product_log.h"

namespace {

constexpr std::array<const char*, PKTMSG_TOPIC_MAX> TOPIC_NAMES = {
    "invalid",           "PKTMSG_TOPIC_SYS",   "PKTMSG_TOPIC_PORT", "PKTMSG_TOPIC_L2IF",
    "PKTMSG_TOPIC_VLAN", "PKTMSG_TOPIC_L2FIB", "PKTMSG_TOPIC_ACL",  "PKTMSG_TOPIC_MCAST",
    "PKTMSG_TOPIC_LAG",  "PKTMSG_TOPIC_STP",   "PKTMSG_TOPIC_ERPS", "PKTMSG_TOPIC_QOS",
    "PKTMSG_TOPIC_GPON", "PKTMSG_TOPIC_DCN",   "PKTMSG_TOPIC_MLDS",
};

constexpr std::array<const char*, PKT_APP_MAX> APP_NAMES = {
    "invalid",          "PKT_APP_SWITCH_AGT", "PKT_APP_SWITCH_MGR", "PKT_APP_MSTP", "PKT_APP_LLDP",
    "PKT_APP_LACP",     "PKT_APP_IGMP",       "PKT_APP_VRRP",       "PKT_APP_RSTP", "PKT_APP_DOT1X",
    "PKT_APP_PIMSM",    "PKT_APP_GVRP",       "PKT_APP_SNMP",       "PKT_APP_DHCP", "PKT_APP_DHCPSNOOP",
    "PKT_APP_MLDSNOOP", "PKT_APP_GPON",       "PKT_APP_EQPT_MGR",
};

char g_app_name[32] = "NULL";
int g_debug_flag = 0;

} // namespace

const char* hal_pktmsg_topic_name(uint32_t topic) {
    return topic < TOPIC_NAMES.size() ? TOPIC_NAMES[topic] : "invalid";
}

const char* hal_pkt_app_name(uint32_t app) {
    return app < APP_NAMES.size() ? APP_NAMES[app] : "invalid";
}

void hal_debug_log_init(const char* name) {
    if (name)
        snprintf(g_app_name, sizeof g_app_name, "%s", name);
}

const char* hal_get_app_name() {
    return g_app_name;
}

void hal_debug_flag_set(int debug_flag) {
    g_debug_flag = debug_flag;
}

int hal_debug_flag_get() {
    return g_debug_flag;
}

void hal_debug_frame(const char* what, const hal_frame_t& frame) {
    const PKTMSG_HDR_T& hdr = frame.hdr;
    OV_LOG_DEBUG("LIB", "%s: topic %u (%s), op %u, cmd %u, count %u, chg_flag %u, len %u, retcode %d", what,
                 hdr.msg_topic.value(), hal_pktmsg_topic_name(hdr.msg_topic), hdr.msg_op.value(),
                 hdr.msg_cmd.value(), hdr.msg_count.value(), hdr.chg_flag.value(), hdr.msg_len.value(),
                 hdr.retcode.value());
    const hal_nlmsghdr& nl = frame.nlhdr;
    OV_LOG_DEBUG("LIB", "%s: nlmsg_len %u, nlmsg_type %u, nlmsg_flags %#x, nlmsg_seq %u, nlmsg_pid %u", what,
                 nl.nlmsg_len.value(), nl.nlmsg_type.value(), nl.nlmsg_flags.value(), nl.nlmsg_seq.value(),
                 nl.nlmsg_pid.value());
}

void hal_debug_log_timing(const hal_send_timing& t) {
    constexpr const char* MODULE = "TIMING";
    // What "len: %u, type: %u, seq: %u, slot: %u, flags: %#x, inter: %f ms" prints with the milliseconds, but
    // without floating point: that would be half of the line's cost, and every send pays for its line.
#define TIMING_LINE                                                                                          \
    "len: %u, type: %u, seq: %u, slot: %u, flags: %#x, inter: %u.%03u000 ms", t.len, t.type, t.seq, t.slot,  \
        t.flags, static_cast<unsigned>(t.usec / 1000), static_cast<unsigned>(t.usec % 1000)
    if (t.usec > HAL_SLOW_SEND_USEC)
        OV_LOG_INFO(MODULE, TIMING_LINE);
    OV_LIB_LOG(1, "halmsg", OV_LOG_LVL_INFO, MODULE, TIMING_LINE);
#undef TIMING_LINE
}
