// Values of fields of the records. On the wire each is a signed word; a value from a card may be none of
// these. LAST, MAX, INVALID and Count stand behind the last value of each.
#pragma once

#include <cstdint>

// Administrative state of a port, an ONU or a UNI.
enum ov_gpon_admin_status_t : int32_t {
    OV_GPON_ADMIN_DISABLE = 0,
    OV_GPON_ADMIN_ENABLE = 1,
    OV_GPON_ADMIN_STATUS_LAST = 2,
};

// What an ONU proves who it is with: serial number (SN), registration password (PW), logical ONU id (LOID).
enum ov_gpon_onu_auth_mode_t : int32_t {
    OV_GPON_ONU_AUTH_MODE_SN = 1,
    OV_GPON_ONU_AUTH_MODE_PW = 2,
    OV_GPON_ONU_AUTH_MODE_SNPW = 3,
    OV_GPON_ONU_AUTH_MODE_LOID = 4,
    OV_GPON_ONU_AUTH_MODE_LOIDPW = 5,
    OV_GPON_ONU_AUTH_MODE_LAST = 6,
};

// Scheduling of a queue: strict priority, weighted round robin, deficit.
enum OV_QOS_SCHED_MODE_E : int32_t {
    OV_QOS_SCHED_MODE_NONE = 0,
    OV_QOS_SCHED_MODE_SP = 1,
    OV_QOS_SCHED_MODE_WRR = 2,
    OV_QOS_SCHED_MODE_SP_WRR = 3,
    OV_QOS_SCHED_MODE_WDRR = 4,
    OV_QOS_SCHED_MODE_RR = 5,
    OV_QOS_SCHED_MODE_MAX = 6,
};

// T-CONT types of ITU-T G.984.3: 1 fixed, 2 assured, 3 assured and non-assured, 4 best effort, 5 all of
// them.
enum ov_gpon_bw_type_t : int32_t {
    OV_GPON_BW_TYPE_NONE = 0,
    OV_GPON_BW_TYPE_1 = 1,
    OV_GPON_BW_TYPE_2 = 2,
    OV_GPON_BW_TYPE_3 = 3,
    OV_GPON_BW_TYPE_4 = 4,
    OV_GPON_BW_TYPE_5 = 5,
    OV_GPON_BW_TYPE_MAX = 6,
};

// What a service port does to the tags of a frame.
enum ov_vlan_action_e : int32_t {
    ovVlanActionNone = 0,
    ovVlanActionXparent = 0,
    ovVlanActionXlate = 1,
    ovVlanActionAdd = 2,
    ovVlanActionRangeAdd = 3,
    ovVlanActionAddInner = 4,
    ovVlanActionAddAndReplace = 5,
    ovVlanActionAddInnerAndReplace = 6,
    ovVlanActionUntaggedAdd = 7,
    ovVlanActionTaggedAdd = 8,
    ovVlanActionAlwaysAdd = 9,
    ovVlanActionAllXparent = 10,
    ovVlanActionCount = 11,
};

// Where the priority of a tag comes from.
enum ov_vlan_prio_action_e : int32_t {
    ovVlanPrioActionNone = 0,
    ovVlanPrioActionCopy = 1,
    ovVlanPrioActionNew = 2,
    ovVlanPrioActionReserve = 3,
    ovVlanPrioActionCount = 4,
};

// Progress of a firmware upgrade of an ONU.
enum OV_CPM_CFG_IMAGE_STATUS_E : int32_t {
    OV_CPM_CFG_IMAGE_NULL = 0,
    OV_CPM_CFG_IMAGE_START_DOWNLOAD = 1,
    OV_CPM_CFG_IMAGE_DOWNLOADING = 2,
    OV_CPM_CFG_IMAGE_WAIT_WRITE_DISK = 3,
    OV_CPM_CFG_IMAGE_DOWNLOAD_SUCC = 4,
    OV_CPM_CFG_IMAGE_COMMIT = 5,
    OV_CPM_CFG_IMAGE_COMMIT_OK = 6,
    OV_CPM_CFG_IMAGE_COMMIT_FAIL = 7,
    OV_CPM_CFG_IMAGE_ACTIVATE = 8,
    OV_CPM_CFG_IMAGE_ACTIVATE_OK = 9,
    OV_CPM_CFG_IMAGE_ACTIVATE_FAIL = 10,
    OV_CPM_CFG_IMAGE_DOWNLOAD_FAIL = 11,
    OV_CPM_CFG_IMAGE_DOWNLOAD_ABORT = 12,
    OV_CPM_CFG_IMAGE_DOWNLOAD_WAITING = 13,
    OV_CPM_CFG_IMAGE_MAX = 14,
};

// Kinds of UNI.
enum ov_gpon_rmuni_type_t : int32_t {
    OV_GPON_RMUNI_TYPE_NONE = -1,
    OV_GPON_RMUNI_TYPE_ETH = 0,
    OV_GPON_RMUNI_TYPE_POTS = 1,
    OV_GPON_RMUNI_TYPE_VEIP = 2,
    OV_GPON_RMUNI_TYPE_VIDEO = 3,
    OV_GPON_RMUNI_TYPE_IPHOST = 4,
    OV_GPON_RMUNI_TYPE_LAST = 5,
};

// Bridging and mapping model of a flow (ITU-T G.988): N or 1 bridge ports, mapped by priority (P) or not by
// it alone (MP).
enum ov_gpon_rm_bridge_mode_t : int32_t {
    OV_GPON_RM_BRIDGE_MODE_NONE = 0,
    OV_GPON_RM_BRIDGE_MODE_N_P = 1,
    OV_GPON_RM_BRIDGE_MODE_N_MP = 2,
    OV_GPON_RM_BRIDGE_MODE_1_P = 3,
    OV_GPON_RM_BRIDGE_MODE_1_MP = 4,
    OV_GPON_RM_BRIDGE_MODE_INVALID = 5,
};

// How the frames of a service inside an ONU are told apart. The spelling TRANSPARNT is known to the cards.
enum ov_gpon_rm_service_type_t : int32_t {
    OV_GPON_RM_SERVICE_NONE = 0,
    OV_GPON_RM_SERVICE_VLAN = 1,
    OV_GPON_RM_SERVICE_VLAN_COS = 2,
    OV_GPON_RM_SERVICE_VLAN_UNI = 3,
    OV_GPON_RM_SERVICE_VLAN_COS_UNI = 4,
    OV_GPON_RM_SERVICE_TRANSPARNT = 5,
    OV_GPON_RM_SERVICE_TRANSPARNT_UNI = 6,
    OV_GPON_RM_SERVICE_INVALID = 7,
};

// VLAN handling at a UNI. The spelling ACESS is known to the cards.
enum ov_gpon_vlan_mode_t : int32_t {
    OV_GPON_VLAN_MODE_DISCARD = 1,
    OV_GPON_VLAN_MODE_ACESS = 2,
    OV_GPON_VLAN_MODE_TRUNK = 3,
    OV_GPON_VLAN_MODE_HYBRID = 4,
    OV_GPON_VLAN_MODE_TRANSPARENT = 5,
    OV_GPON_VLAN_MODE_XLATE = 6,
    OV_GPON_VLAN_MODE_LAST = 7,
};

// What happens to the tag of multicast frames at a UNI.
enum ov_gpon_rmmcast_vlan_action_t : int32_t {
    OV_GPON_RMMCAST_VLAN_ACTION_NONE = 0,
    OV_GPON_RMMCAST_VLAN_ACTION_TRANSPARENT = 1,
    OV_GPON_RMMCAST_VLAN_ACTION_ADD = 2,
    OV_GPON_RMMCAST_VLAN_ACTION_STRIP = 3,
    OV_GPON_RMMCAST_VLAN_ACTION_TRANSLATE = 4,
    OV_GPON_RMMCAST_VLAN_ACTION_LAST = 5,
};

// Multicast of an ONU.
enum ov_gpon_mcast_mode_t : int32_t {
    OV_GPON_MCAST_MODE_DISABLE = 0,
    OV_GPON_MCAST_MODE_IGMP_SNOOPING = 1,
    OV_GPON_MCAST_MODE_IGMP_PROXY = 2,
    OV_GPON_MCAST_MODE_LAST = 3,
};

// Multicast protocol; MLD counts on behind IGMP.
enum ov_gpon_igmp_version_t : int32_t {
    OV_GPON_IGMP_VERSION_NONE = 0,
    OV_GPON_IGMP_VERSION_1 = 1,
    OV_GPON_IGMP_VERSION_2 = 2,
    OV_GPON_IGMP_VERSION_3 = 3,
    OV_GPON_MLD_VERSION_1 = 4,
    OV_GPON_MLD_VERSION_2 = 5,
    OV_GPON_IGMP_VERSION_LAST = 6,
};
