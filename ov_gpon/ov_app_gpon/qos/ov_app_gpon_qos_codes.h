// What the functions of QoS answer, and the numbers that its profiles and bindings share.
#pragma once

#include <cstdint>

enum OV_QOS_RET : int {
    OV_QOS_OK = 0,
    OV_QOS_ERR = 1,
    OV_QOS_NOT_SUPPORT = 2,
    OV_QOS_MIB_FAIL = 3, // the table didn't take the row
    OV_QOS_HAL_FAIL = 4, // the card wasn't told, or refused
    OV_ONU_QOS_IN_USE = 5,
    OV_ONU_QOS_NOT_IN_USE = 6,
    OV_PORT_QOS_IN_USE = 7,
    OV_PORT_QOS_NO_IN_USE = 8,

    // IN_USE of a profile: the id is taken, or something is bound to it. NOT_IN_USE: there is no such
    // profile.
    OV_QOS_COSQ_MAP_PROFILE_BAD_NUM = 9, // a queue beyond the last one
    OV_QOS_COSQ_MAP_PROFILE_IN_USE = 10,
    OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE = 11,
    OV_QOS_COSQ_MAP_PROFILE_INVALID_ID = 12,
    OV_QOS_COSQ_MAP_PROFILE_INTERNAL_ID = 13, // of a default mapping
    OV_QOS_COSQ_MAP_PROFILE_NAME_NULL = 14,
    OV_QOS_COSQ_MAP_PROFILE_NAME_TOO_LONG = 15,
    OV_QOS_COSQ_MAP_PROFILE_DESC_NULL = 16,
    OV_QOS_COSQ_MAP_PROFILE_DESC_TOO_LONG = 17,
    OV_QOS_COSQ_MAP_PROFILE_COSQ_NULL = 18,
    OV_QOS_COSQ_MAP_PROFILE_COSQ_TOO_MANY = 19,
    OV_QOS_COSQ_MAP_PROFILE_DUPLICATE = 20, // another profile maps every COS the same

    OV_QOS_SCHED_PROFILE_INVALID_ID = 21,
    OV_QOS_SCHED_PROFILE_NAME_NULL = 22,
    OV_QOS_SCHED_PROFILE_NAME_TOO_LONG = 23,
    OV_QOS_SCHED_PROFILE_DESC_NULL = 24,
    OV_QOS_SCHED_PROFILE_DESC_TOO_LONG = 25,
    OV_QOS_SCHED_PROFILE_WEIGHT_INVALID_NUM = 26, // not one for each queue
    OV_QOS_SCHED_PROFILE_INVALID_WEIGHT = 27,
    OV_QOS_SCHED_PROFILE_IN_USE = 28,
    OV_QOS_SCHED_PROFILE_NOT_IN_USE = 29,

    OV_QOS_TRAFFIC_PROFILE_INVALID_ID = 30,
    OV_QOS_TRAFFIC_PROFILE_NAME_NULL = 31,
    OV_QOS_TRAFFIC_PROFILE_NAME_TOO_LONG = 32,
    OV_QOS_TRAFFIC_PROFILE_DESC_NULL = 33,
    OV_QOS_TRAFFIC_PROFILE_DESC_TOO_LONG = 34,
    OV_QOS_TRAFFIC_PROFILE_IN_USE = 35,
    OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE = 36,

    OV_QOS_COS_TO_COS_PROFILE_IN_USE = 37,
    OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE = 38,
    OV_QOS_COS_TO_COS_PROFILE_DUPLICATE = 39, // another profile maps every COS the same

    OV_QOS_SERVICE_PORT_IN_USE = 40,
    OV_QOS_SERVICE_PORT_NOT_IN_USE = 41,
};

// Which copies of a QoS object a call is about: its row, the card's, the application's.
enum ov_sync_flag_t : uint32_t { SYNC_MIB = 1, SYNC_HAL = 2, SYNC_APP = 4 };
inline constexpr uint32_t SYNC_EVERY_COPY = SYNC_MIB | SYNC_HAL | SYNC_APP;

enum qos_link_e : unsigned { QOS_UP_LINK = 0, QOS_DOWN_LINK = 1, QOS_LINKS = 2 };

enum ov_qos_sched_model_e : int32_t { OV_QOS_SCHED_SIMPLE = 1, OV_QOS_SCHED_HIERARCHY = 2 };

// How a queue is served. Rows and cards know 3 and 4 too, without a name here.
enum ov_qos_sched_mode_e : uint32_t { OV_QOS_SCHED_SP = 1, OV_QOS_SCHED_WRR = 2 };

inline constexpr unsigned OV_QOS_COS_NUM = 8; // classes of service (IEEE 802.1p), and queues of a port
inline constexpr uint32_t OV_QOS_DEFAULT_INDEX_ID = 0; // the profile of each kind that is always there
inline constexpr unsigned OV_QOS_INVALID_QUEUE_NUM = 255;
inline constexpr uint32_t OV_APP_ONU_QOS_WEIGHT_DEFAULT = 1;
inline constexpr uint32_t OV_QOS_COS_TO_COS_PROFILE_INVALID = 8; // stands for none

// How many profiles there can be. Ids are 1 to this, but of the mappings: 0 to one less, see there.
inline constexpr uint32_t OV_QOS_SCHED_PROFILE_NUM = 16;
inline constexpr uint32_t OV_QOS_COSQ_MAP_PROFILE_NUM = 8;
inline constexpr uint32_t OV_QOS_TRAFFIC_PROFILE_NUM = 128;
inline constexpr uint32_t OV_QOS_COS_TO_COS_PROFILE_NUM = 8;
