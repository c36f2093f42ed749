// Messages about physical ports: settings, statistics, the list of ports. Each function sends one synchronous
// message to the agent of `slot_id` (0: every active card) and returns what hal_send returns, or KAVO_PARAM
// for a null record. Records are in wire form. Event loop's thread only.
#pragma once

#include "hal_msg.h"
#include "hal_request.h"

inline constexpr size_t HAL_PORT_MAX = 64; // ports in one message

// A port's settings; a message fills the index and the field it is about.
struct hal_msg_if_t {
    big_uint32_at ifindex;
    big_uint32_at admin;
    big_uint32_at type;
    big_uint32_at speed;
    big_uint32_at mtu;
    big_uint32_at duplex;
    big_uint32_at autoneg;
    big_uint32_at stp_state;
    big_uint32_at flags;
    big_uint32_at pause;
    big_uint32_at medium;
    big_uint32_at rate;
    big_uint32_at packet;
    uint8_t macmove;
    uint8_t spare[3];
};
static_assert(sizeof(hal_msg_if_t) == 56 && std::is_standard_layout_v<hal_msg_if_t>);
static_assert(offsetof(hal_msg_if_t, ifindex) == 0);
static_assert(offsetof(hal_msg_if_t, admin) == 4);
static_assert(offsetof(hal_msg_if_t, type) == 8);
static_assert(offsetof(hal_msg_if_t, speed) == 12);
static_assert(offsetof(hal_msg_if_t, mtu) == 16);
static_assert(offsetof(hal_msg_if_t, duplex) == 20);
static_assert(offsetof(hal_msg_if_t, autoneg) == 24);
static_assert(offsetof(hal_msg_if_t, stp_state) == 28);
static_assert(offsetof(hal_msg_if_t, flags) == 32);
static_assert(offsetof(hal_msg_if_t, pause) == 36);
static_assert(offsetof(hal_msg_if_t, medium) == 40);
static_assert(offsetof(hal_msg_if_t, rate) == 44);
static_assert(offsetof(hal_msg_if_t, packet) == 48);
static_assert(offsetof(hal_msg_if_t, macmove) == 52);

struct hal_port_t {
    uint8_t type;
    uint8_t unit;
    uint8_t hw_port;
    uint8_t spare;
    big_uint32_at ifindex;
};
static_assert(sizeof(hal_port_t) == 8 && offsetof(hal_port_t, ifindex) == 4);

// Counters of a port, each 64 bits, in the order of the uplink performance table: received and sent packets,
// bytes, errors, dropped, broadcast, multicast and pause in pairs, then FCS errors, jabber, SQE test, late
// collisions, and the received and the sent packets by nine ranges of size.
inline constexpr size_t HAL_STAT_COUNTERS = 36;
struct hal_msg_stat_t {
    big_uint32_at ifindex;
    big_uint32_at spare;
    big_uint64_at counter[HAL_STAT_COUNTERS];
};
static_assert(sizeof(hal_msg_stat_t) == 296 && offsetof(hal_msg_stat_t, counter) == 8);

// The same with the present rates.
struct hal_msg_rate_stat_t {
    hal_msg_stat_t stat;
    big_uint64_at rx_rate; // bytes per second
    big_uint64_at tx_rate;
};
static_assert(sizeof(hal_msg_rate_stat_t) == 312 && offsetof(hal_msg_rate_stat_t, rx_rate) == 296);

// At most HAL_PORT_MAX ports; more are refused.
unsigned hal_port_add(uint32_t count, const hal_port_t* port, uint32_t slot_id);
unsigned hal_port_add_finished(uint32_t slot_id);
unsigned hal_port_enable_set(uint32_t ifindex, uint32_t status, uint32_t slot_id);
unsigned hal_port_speed(uint32_t ifindex, uint32_t speed, uint32_t slot_id);
unsigned hal_port_pause(uint32_t ifindex, uint32_t pause, uint32_t slot_id);
unsigned hal_port_autoneg(uint32_t ifindex, uint32_t autoneg, uint32_t slot_id);
unsigned hal_port_duplex(uint32_t ifindex, uint32_t duplex, uint32_t slot_id);
unsigned hal_port_mtu(uint32_t ifindex, uint32_t mtu, uint32_t slot_id);
unsigned hal_port_loopback(uint32_t ifindex, uint32_t loopback, uint32_t slot_id);
unsigned hal_port_macmove(uint32_t ifindex, uint32_t value, uint32_t slot_id);
unsigned hal_port_vlan_check(uint32_t ifindex, uint32_t flags, uint32_t slot_id);
unsigned hal_port_vlan_check_forcpu(uint32_t flags, uint32_t slot_id);
unsigned hal_port_rate_limit(uint32_t ifindex, uint32_t direction, uint32_t rate, uint32_t burst,
                             uint32_t slot_id);
unsigned hal_port_rate_limit_forcpu(uint32_t pps, uint32_t slot_id);
unsigned hal_port_storm(uint32_t ifindex, uint32_t type, uint32_t rate, uint32_t slot_id);
unsigned hal_port_storm_pps(uint32_t ifindex, uint32_t type, uint32_t rate, uint32_t slot_id);
unsigned hal_port_storm_pps_cpu(uint32_t type, uint32_t rate, uint32_t slot_id);
// All settings of a port at once, as they are to be restored.
unsigned hal_port_cfg_recovery(const hal_msg_if_t* if_info, uint32_t slot_id);
// The ports that `num` indexes name are isolated from each other; at most HAL_PORT_MAX. The system's
// spelling.
unsigned hal_port_portected_set(const uint32_t* ifindex, uint32_t num, uint32_t slot_id);
unsigned hal_port_mirror_set(uint32_t src, uint32_t dst, uint32_t flags, uint32_t slot_id);
// `type` is the message type.
unsigned hal_port_mirror_vlan_set(uint32_t dst, uint32_t vid, uint32_t type, uint32_t slot_id);

// Readers: the record is the card's on success and untouched otherwise.
unsigned hal_port_stat_get(uint32_t ifindex, hal_msg_stat_t* stat, uint32_t slot_id);
unsigned hal_port_rate_stat_get(uint32_t ifindex, hal_msg_rate_stat_t* stat, uint32_t slot_id);
unsigned hal_get_port_info(uint32_t ifindex, hal_msg_if_t* info, uint32_t slot_id);
// Sets the port's counters to 0.
unsigned hal_port_stat_clear(uint32_t ifindex, uint32_t slot_id);

// The last two without waiting (hal_request.h); a reply to the first has the record behind its head.
HalRequest hal_port_stat_get_request(uint32_t ifindex, uint32_t slot_id, hal_reply_handle handle,
                                     void* context);
HalRequest hal_port_stat_clear_request(uint32_t ifindex, uint32_t slot_id, hal_reply_handle handle,
                                       void* context);
