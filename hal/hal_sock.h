// The transport of messages between this daemon and the agents on the cards: synchronous requests, one-way
// messages, and the queue of what the cards send by themselves.
//
// A message is netlink-shaped (hal_msg.h), big-endian on every host: whoever builds one in a buffer of his
// own writes it through hal_nlmsghdr. Event loop's thread only.
#pragma once

#include "hal_msg.h"

struct thread_master;

// The daemons of the system as modules of the transport. The _ASYNC numbers only keep their places.
enum hal_module_e : unsigned {
    HAL_CPM = 1000,
    HAL_CPMU = 1001, // what every client calls itself on the wire
    HAL_EQPTMGR = 1002,
    HAL_EQPTMGR_ASYNC = 1003,
    HAL_MONO = 1004,
    HAL_MONO_ASYNC = 1005,
    HAL_ZEBRA = 1006,
    HAL_ZEBRA_ASYNC = 1007,
    HAL_MSTP = 1008,
    HAL_MSTP_ASYNC = 1009,
    HAL_LLDP = 1010,
    HAL_LLDP_ASYNC = 1011,
    HAL_LACP = 1012,
    HAL_LACP_ASYNC = 1013,
    HAL_IGMPS = 1014,
    HAL_IGMPS_ASYNC = 1015,
    HAL_VRRP = 1016,
    HAL_RSTP = 1017,
    HAL_RSTP_ASYNC = 1018,
    HAL_DOT1X = 1019,
    HAL_DOT1X_ASYNC = 1020,
    HAL_PIMSM = 1021,
    HAL_PIMSM_ASYNC = 1022,
    HAL_GVRP = 1023,
    HAL_GVRP_ASYNC = 1024,
    HAL_SNMP = 1025,
    HAL_SNMP_ASYNC = 1026,
    HAL_DHCP = 1027,
    HAL_DHCP_ASYNC = 1028,
    HAL_DHCPSNOOP = 1029,
    HAL_DHCPSNOOP_ASYNC = 1030,
    HAL_MLD_SNOOPING = 1031,
    HAL_MLD_SNOOPING_ASYNC = 1032,
    HAL_ARP = 1033,
    HAL_ARP_ASYNC = 1034,
    HAL_GPON = 1035,
    HAL_GPON_ASYNC = 1036,
    HAL_RTMGR = 1037,
    HAL_RTMGR_ASYNC = 1038,
    HAL_PPPOEIA = 1039,
    HAL_PPPOEIA_ASYNC = 1040,
    HAL_SWITCH_AGT = 1041,
    HAL_SCA = 1042,
    HAL_MODULE_MAX = 1043,
};

// Service under which a module receives, 0 when it may not use this transport; and its short name.
struct hal_module_info {
    unsigned module;
    int service;
    const char* name;
};
// The facts of a module; service 0 and the name "unknown" for a number that isn't one.
hal_module_info hal_module_info_get(unsigned module);

// Takes one received message: its type, the payload behind the message's head (aligned to 4 bytes, valid for
// the call), and the message's length with the head: never more than was received, never less than 16. 0 for
// success; any other result ends the present round of dispatching.
typedef unsigned (*hal_recv_handle)(unsigned type, void* buf, unsigned len);

// Opens the transport of a module and, with a handler, arms its receive timer. Ends the process with status 1
// when that can't be done. Once in a process.
void hal_init(unsigned module, struct thread_master* master, hal_recv_handle recv);

// Sends a message to the card of the slot in nlmsg_pid, or one after the other to every active card for slot
// 0, and waits for the reply, up to 12 seconds a card; one-way messages that wait for the card go first, in
// the same 12 seconds. `nlhdr` is the message, nlmsg_len bytes long; the reply overwrites it, never beyond
// that length. A card that isn't active is passed over with success. Returns 0; KAVO_PARAM for null or a
// length below 16; KAVO_MEMORY for a length above HAL_MSG_MAX; OV_GPON_RET_NOT_SUPPORT when the one card said
// so; KAVO_ERR for any other refusal or failure.
unsigned hal_send(hal_nlmsghdr* nlhdr);

// The same without waiting: what a card has no room for waits in its outbox, and a failed send is logged
// only. The message is left as it was, but for nlmsg_pid.
unsigned hal_send_async(hal_nlmsghdr* nlhdr);
// The same without mirroring to the standby card.
unsigned _hal_send_async(hal_nlmsghdr* nlhdr);

// Takes one message off the asynchronous queue and hands it to `filter` (null: drops it). Returns what the
// handler returns, KAVO_EMPTY when nothing waits, or KAVO_ERR.
unsigned hal_recv(hal_recv_handle filter);

// Switches the debug lines of the transport.
void hal_set_debug(int debug_flag);

// Running numbers of the messages sent.
extern uint32_t sync_msg_seq;
extern uint32_t async_msg_seq;
