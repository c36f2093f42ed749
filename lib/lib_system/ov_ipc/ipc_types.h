// The vocabulary of the named IPC: services, the header on the wire, result codes.
//
// Daemons and card agents talk by name. A name is a service id and a sub id; a peer may restart, move or be
// absent, and its name stays.
#pragma once

#include <cstddef>
#include <cstdint>

#include <boost/endian/arithmetic.hpp>

// Service ids. Gaps belong to other releases.
enum ipc_serv_id : uint32_t {
    IPC_SERVICE_NONE = 0,
    IPC_SERVICE_RX_QUEUE = 1,
    IPC_SERVICE_RETURN_MSG_QUEUE = 2,
    IPC_SERVICE_MISC = 3,
    IPC_SERVICE_SCA = 4,
    IPC_SERVICE_OTN_SYNC = 8,

    IPC_SERVICE_REGION_SYSADDR = 9,
    IPC_SERVICE_REGION_UNIADDR = 17,

    IPC_SERVICE_HA_MIN = 40,
    IPC_SERVICE_HA_EQPTNGR = 41,
    IPC_SERVICE_HA_MONO = 42,
    IPC_SERVICE_HA_ZEBRA = 43,
    IPC_SERVICE_HA_MSTP = 44,
    IPC_SERVICE_HA_LLDP = 45,
    IPC_SERVICE_HA_LACP = 46,
    IPC_SERVICE_HA_IGMPS = 47,
    IPC_SERVICE_HA_SCA = 48,
    IPC_SERVICE_HA_RSTP = 49,
    IPC_SERVICE_HA_PIMSM = 51,
    IPC_SERVICE_HA_GVRP = 52,
    IPC_SERVICE_HA_SNMP = 53,
    IPC_SERVICE_HA_DHCP = 54,
    IPC_SERVICE_HA_DHCPSNOOP = 55,
    IPC_SERVICE_HA_MLD_SNOOPING = 56,
    IPC_SERVICE_HA_GPON = 57,
    IPC_SERVICE_HA_OSPFD = 58,
    IPC_SERVICE_HA_BACKUP = 59,
    IPC_SERVICE_HA_MISC = 60,
    IPC_SERVICE_HA_MODULE_MAX = 61,

    IPC_SERVICE_CLI_MIN = 70,
    IPC_SERVICE_VTYSH_MAX = 80,
    IPC_SERVICE_CLI_MAX = 81,

    IPC_SERVICE_PACKT_MIN = 100,
    IPC_SERVICE_PACKT_SWITCH_AGENT = 101,
    IPC_SERVICE_PACKT_MONO = 102,
    IPC_SERVICE_PACKT_STP = 103,
    IPC_SERVICE_PACKT_IGMP = 104,
    IPC_SERVICE_PACKT_LACP = 105,
    IPC_SERVICE_PACKT_MLD = 106,
    IPC_SERVICE_PACKT_DHCP = 107,
    IPC_SERVICE_PACKT_DHCPSNOOP = 108,
    IPC_SERVICE_PACKT_LLDP = 110,
    IPC_SERVICE_PACKT_GPON = 111,
    IPC_SERVICE_PACKT_SNMP = 112,
    IPC_SERVICE_PACKT_EQPT_MGR = 113,
    IPC_SERVICE_PACKT_ROUTE_MGR = 114,
    IPC_SERVICE_PACKT_ARP = 115,
    IPC_SERVICE_PACKT_PPPOE_IA = 116,
    IPC_SERVICE_PACKT_ZEBRA = 117,
    IPC_SERVICE_PACKT_MAX = 118,
};

inline constexpr uint32_t IPC_STATS_SERVICES = 119; // services below this are counted
inline constexpr int IPC_MAX_SERVICE_REGS = 110;
inline constexpr int IPC_DEFAULT_SYNC_TIMEOUT = 5; // seconds

// Numbers on the wire.
inline constexpr uint32_t IPC_HDR_ID = 0xface01bc;
inline constexpr uint32_t IPC_VERSION = 0;

enum ipc_msg_type : uint32_t {
    IPC_ASYNC = 0,
    IPC_REQUEST = 1,
    IPC_REPLY = 2,
};

// In front of every message on the wire; all words big-endian, no alignment of the whole is assumed
// (copy it in and out of a frame).
struct ipc_header {
    boost::endian::big_uint32_at hdr_id;         // IPC_HDR_ID
    boost::endian::big_uint32_at ipc_ver;        // IPC_VERSION
    boost::endian::big_uint32_at msg_type;       // ipc_msg_type
    boost::endian::big_uint32_at sender_serv_id; // where a reply goes
    boost::endian::big_uint32_at sender_sub_id;
    boost::endian::big_uint32_at msg_id;  // rand() per message; a reply carries its request's
    boost::endian::big_uint32_at msg_num; // running count of the sending process
};
inline constexpr int IPC_HDR_SIZE = 28;
static_assert(sizeof(ipc_header) == IPC_HDR_SIZE);
static_assert(offsetof(ipc_header, hdr_id) == 0);
static_assert(offsetof(ipc_header, ipc_ver) == 4);
static_assert(offsetof(ipc_header, msg_type) == 8);
static_assert(offsetof(ipc_header, sender_serv_id) == 12);
static_assert(offsetof(ipc_header, sender_sub_id) == 16);
static_assert(offsetof(ipc_header, msg_id) == 20);
static_assert(offsetof(ipc_header, msg_num) == 24);

// Longest message behind the header that the control-block layer sends and receives.
inline constexpr int IPC_MAX_MSG_SIZE = 2048;
inline constexpr int IPC_MAX_FRAME_SIZE = IPC_HDR_SIZE + IPC_MAX_MSG_SIZE; // 2076

// Results. Functions that receive return a message's length instead of IPC_RC_SUCCESS.
enum ipc_rc : int {
    IPC_RC_SUCCESS = 0,
    IPC_RC_FAILED = -1,
    IPC_RC_INVALID_IDENT = -2,      // no such handle
    IPC_RC_SND_BUFF_FULL = -3,      // the receiver doesn't keep up
    IPC_RC_MSG_RTRNED = -4,         // this message came back
    IPC_RC_USER_ABORT = -5,         // the callback ended the wait
    IPC_RC_TIMEOUT = -6,            // nothing arrived in time
    IPC_RC_MSG_TOO_LONG = -7,       // for the carrier, or for the buffer it should go to
    IPC_RC_RTRNED_MSG_WAITING = -8, // sent, but an earlier message has come back and waits to be taken
    IPC_RC_UNEXPECTED = -9,         // the send side is broken
    IPC_RC_NO_MESSAGE = -10,        // nothing there
    IPC_RC_SEM_INIT_FAIL = -11,
    IPC_RC_SEM_WAIT_FAIL = -12,
    IPC_RC_SEM_POST_FAIL = -13,
    IPC_RC_SEM_DESTROY_FAIL = -14,
};

// Shown each message that isn't the reply that a sync send waits for: `msg_ptr` is the 28-byte ipc_header
// with the message behind it, both valid during the call; `msg_size` the bytes behind the header;
// `rtrned_msg` 1 for one of our own messages that came back. Non-zero ends the wait with
// IPC_RC_USER_ABORT, 0 drops the message and goes on waiting. It runs with the handle's semaphore held:
// it must not send or receive on the same handle.
typedef int (*ipc_non_reply_callback_t)(void* msg_ptr, int msg_size, int rtrned_msg);
