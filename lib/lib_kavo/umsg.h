// The message numbers and body records that the daemon and the system controller share.
//
// A frame is an 8-byte header (version, type, body length and sequence number, both in network order)
// and a body. Bodies are plain records in the byte order and alignment of the host: controller and
// daemon run on one board.
#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

enum UMSG_TYPE : uint8_t {
    UMSG_REPLY = 0,
    UMSG_GET_IF = 1,
    UMSG_NEW_IF = 2,
    UMSG_DEL_IF = 3,
    UMSG_IF_ADMIN = 4,
    UMSG_IF_STATUS = 5,
    UMSG_IP4_ADDRESS = 6,
    UMSG_VLAN_NEW = 7,
    UMSG_VLAN_DEL = 8,
    UMSG_VLAN_PORT = 9,
    UMSG_IP_ADD = 10,
    UMSG_IP_DEL = 11,
    UMSG_IP_UPDATE = 12,
    UMSG_ROUTE_ADD = 13,
    UMSG_ROUTE_DEL = 14,
    UMSG_ROUTE_RECOVERY = 15,
    UMSG_AUTH = 16,
    UMSG_LOGIN = 17,
    UMSG_BSP_CHECK = 18,
    UMSG_SSH_PUB_KEY_CHECK = 19,
    UMSG_GET_USER_ENTRY = 20,
    UMSG_ADD_USER_ENTRY = 21,
    UMSG_DEL_USER_ENTRY = 22,
    UMSG_SET_USER_PRIV = 23,
    UMSG_COLLECT_LC_LOG = 24,
    UMSG_SET_TIME = 25,
    UMSG_RESTART = 26,
    UMSG_HOST = 27,
    UMSG_GET_HOSTNAME = 28,
    UMSG_GET_MGMTIP = 29,
    UMSG_TIMEOUT = 30,
    UMSG_GET_TIMEOUT = 31,
    UMSG_HTTP = 32,
    UMSG_START_FINISH = 33,
    UMSG_IF_LOOPDETECT = 34,
    UMSG_TRUNK_SET = 35,
    UMSG_TRUNK_ADD = 36,
    UMSG_TRUNK_DEL = 37,
    UMSG_GPON_REDIST = 38,
    UMSG_STDOUT_REDIRECT = 39,
    UMSG_PROTECT_GROUP_ADD = 40,
    UMSG_PROTECT_GROUP_DEL = 41,
    UMSG_ONU_STATUS_NOTIFY = 42,
    UMSG_GET_SLOT_INFO = 43,
    UMSG_GET_SLOT_INFO_SLOT_TYPE = 44,
    UMSG_SLOT_ADD = 45,
    UMSG_SLOT_REMOVE = 46,
    UMSG_SLOT_ACTIVE = 47,
    UMSG_SLOT_DEACTIVE = 48,
    UMSG_CFG_SLOT_SYNC_START = 49,
    UMSG_CFG_SLOT_SYNC_END = 50,
    UMSG_CFG_APP_SYNC_PRIO = 51,
    UMSG_CFG_APP_NOTIFY_RECOVER_RESULT = 52,
    UMSG_CFG_SC_SWITCH_2_ACTIVE_START = 53,
    UMSG_CFG_SC_SWITCH_2_ACTIVE_END = 54,
    UMSG_CONFIG_RECOVERY_FINISH = 55,
    UMSG_START_SNMP_AGENTX = 56,
    UMSG_MONO_REPORT_SLOG_CFG_SYNC_START = 57,
    UMSG_MONO_REPORT_SLOG_CFG_SYNC_DONE = 58,
    UMSG_MONO_REPORT_APP_READY = 59,
    UMSG_GET_EQPT_SLOT_INFO = 60,
    UMSG_EQPT_SLOT_UPDATE_ACTIVE_SC = 61,
    UMSG_EQPT_PORT_ADD = 62,
    UMSG_EQPT_PORT_REMOVE = 63,
    UMSG_EQPT_SLOT_RECOVER_START = 64,
    UMSG_EQPT_SLOT_RECOVER_FINISH = 65,
    UMSG_EQPT_MONO_RECOVER_FINISH = 66,
    UMSG_EQPT_MONO_SLOT_ADD = 67,
    UMSG_EQPT_MONO_SLOT_DELETE = 68,
    UMSG_EQPT_MONO_SLOT_ACTIVE = 69,
    UMSG_EQPT_MONO_SLOT_DEACTIVE = 70,
    UMSG_EQPT_MONO_HA_SLOT_ACTIVE = 71,
    UMSG_EQPT_MONO_HA_SC_CFG_RECOVERY = 72,
    UMSG_EQPT_MONO_CREATE_MGMT_VLAN = 73,
    UMSG_EQPT_MONO_MGMT_IP = 74,
    UMSG_EQPT_MONO_OPTICAL = 75,
    UMSG_PORT_SCHEDULER_SET = 76,
    UMSG_EQPT_MONO_OPTICAL_THRESHOLD_ADD = 77,
    UMSG_EQPT_MONO_OPTICAL_THRESHOLD_DEF = 78,
    UMSG_EQPT_MONO_HOSTNAME = 79,
    UMSG_SNMP_MIB_TABLE_SAVE = 80,
    UMSG_SNMP_GET_AAA_INFO = 81,
    UMSG_MAX = 82,
};

inline constexpr uint8_t UMSG_VERSION = 1;
inline constexpr uint16_t UMSG_MAX_BODY = 4096; // bytes; a longer body is refused
inline constexpr size_t UMSG_HEADER_SIZE = 8;

// The header as it stands on the connection.
struct apimsghdr {
    uint8_t version;
    uint8_t msgtype; // UMSG_TYPE
    uint16_t msglen; // body length in bytes, network order
    uint32_t msgseq; // sequence number, network order
};
static_assert(sizeof(apimsghdr) == UMSG_HEADER_SIZE);

// ---- body records ------------------------------------------------------------------------------

struct umsg_if_t {
    uint32_t ifindex;
    char name[20];
    uint32_t status;
    uint32_t admin;
    uint32_t duplex;
    uint32_t speed;
    uint32_t flags; // UIF_FLAG_*
    char onu_sn[32];
};
static_assert(sizeof(umsg_if_t) == 76 && offsetof(umsg_if_t, status) == 24 &&
              offsetof(umsg_if_t, flags) == 40 && offsetof(umsg_if_t, onu_sn) == 44);

// A set of VLANs: VLAN v is bit v % 8 of byte v / 8.
struct uvlan_t {
    uint8_t bits[512];
};
static_assert(sizeof(uvlan_t) == 512);

struct umsg_vlan_t {
    uvlan_t uvlan;
};
static_assert(sizeof(umsg_vlan_t) == 512);

struct umsg_vlan_port_t {
    uint32_t ifindex;
    uint16_t op;
    uint16_t tag;
    uint16_t pvid;
    uvlan_t uvlan;
};
static_assert(sizeof(umsg_vlan_port_t) == 524 && offsetof(umsg_vlan_port_t, uvlan) == 10);

struct umsg_ip_t {
    uint32_t ifindex;
    char ifname[32];
    uint32_t ip;
    uint32_t mask;
    uint32_t new_ip;
    uint32_t new_mask;
};
static_assert(sizeof(umsg_ip_t) == 52 && offsetof(umsg_ip_t, ip) == 36);

struct umsg_host_t {
    char name[33];
};
static_assert(sizeof(umsg_host_t) == 33);

struct umsg_trunk_t {
    uint32_t set;
    uint32_t tid;
    uint32_t ifindex;
};
static_assert(sizeof(umsg_trunk_t) == 12);

struct umsg_protect_group_t {
    uint32_t work_ifindex;
    uint32_t protect_ifindex;
    uint32_t type;
};
static_assert(sizeof(umsg_protect_group_t) == 12);

struct umsg_onu_op_t {
    uint32_t ifindex;
    int32_t status;
    uint8_t onu_sn[9];
};
static_assert(sizeof(umsg_onu_op_t) == 20 && offsetof(umsg_onu_op_t, onu_sn) == 8);

struct umsg_card_t {
    uint32_t slot_id;
    uint16_t card_type;
};
static_assert(sizeof(umsg_card_t) == 8);

struct umsg_cfg_sync_t {
    uint32_t appid;
    uint32_t slotid;
    uint32_t cfg_prio; // REC_SEQ_*
    uint32_t retcode;
    char appName[128];
};
static_assert(sizeof(umsg_cfg_sync_t) == 144 && offsetof(umsg_cfg_sync_t, appName) == 16);

struct umsg_gpon_t {
    uint32_t op;
    uint32_t p1;
    uint32_t p2;
    uint32_t p3;
    uint32_t p4;
};
static_assert(sizeof(umsg_gpon_t) == 20);

struct umsg_port_qos_t {
    uint32_t ifindex;
    uint32_t scheduler_mode;
};
static_assert(sizeof(umsg_port_qos_t) == 8);

struct umsg_snmp_save_req_t {
    uint32_t sequence;
    char tablename[64];
    uint32_t saveStatus;
};
static_assert(sizeof(umsg_snmp_save_req_t) == 72 && offsetof(umsg_snmp_save_req_t, saveStatus) == 68);

// UMSG_IF_LOOPDETECT's record: the port and whether the detection runs.
struct umsg_loopdetect_t {
    uint32_t ifindex;
    uint32_t set;
};
static_assert(sizeof(umsg_loopdetect_t) == 8);

// Head of a UMSG_REPLY body; `len` bytes of data follow.
struct umsg_reply_head_t {
    uint32_t errcode;
    uint32_t len;
};
static_assert(sizeof(umsg_reply_head_t) == 8);

// Stages of the configuration replay, shared with the controller (umsg_cfg_sync_t::cfg_prio).
enum REC_SEQ : uint32_t {
    REC_SEQ_INIT = 0,
    REC_SEQ_SYSTEM = 100,
    REC_SEQ_L2_PORT = 210,
    REC_SEQ_L2_VLAN = 211,
    REC_SEQ_LACP = 250,
    REC_SEQ_PON = 300,
    REC_SEQ_ACL = 400,
    REC_SEQ_QOS = 410,
    REC_SEQ_IGMP = 420,
    REC_SEQ_MLDS = 430,
    REC_SEQ_MSTP = 440,
    REC_SEQ_DHCP = 450,
    REC_SEQ_ARP = 460,
    REC_SEQ_PPPOEIA = 470,
    REC_SEQ_QINQ = 480,
    REC_SEQ_RTMGR = 500,
    REC_SEQ_EN_PORT = 510,
    REC_SEQ_LAST = 510,
};
