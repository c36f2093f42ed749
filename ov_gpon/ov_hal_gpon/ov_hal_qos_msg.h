// Messages about QoS profiles and the QoS of ports. They have neither action nor mask: the type says what is
// to be done, and the record follows the message's head at once.
//
// Each function sends its record to the card in `slot` (0: every active card). It waits for the card, or, for
// a replay, doesn't. OV_GPON_RET_OK, or what hal_send or hal_send_async return. Event loop's thread only.
#pragma once

#include <cstdint>

#include "ov_hal_gpon_records.h"

enum ov_hal_qos_msg_type_t : uint16_t {
    OV_HAL_MSG_COSQ_MAP_PROFILE_ADD = 708,
    OV_HAL_MSG_COSQ_MAP_PROFILE_DEL = 709,
    OV_HAL_MSG_QOS_SCHED_PROFILE_ADD = 710,
    OV_HAL_MSG_QOS_SCHED_PROFILE_DEL = 711,
    OV_HAL_MSG_QOS_TRAFFIC_PROFILE_ADD = 712,
    OV_HAL_MSG_QOS_TRAFFIC_PROFILE_DEL = 713,
    OV_HAL_MSG_PORT_COSQ_MAP_SET = 714,
    OV_HAL_MSG_PORT_QOS_SCHED_SET = 715,
    OV_HAL_MSG_PORT_QOS_TRAFFIC_SET = 716,
    OV_HAL_MSG_PORT_QOS_MODEL_SET = 717,
    OV_HAL_MSG_COS_TO_COS_PROFILE_ADD = 718,
    OV_HAL_MSG_COS_TO_COS_PROFILE_DEL = 719,
    OV_HAL_MSG_PORT_COS_TO_COS_SET = 720,
};

enum class HalWait : bool { NO, FOR_CARD };

int ov_hal_cosq_mapping_msg_send(ov_hal_qos_msg_type_t type, const ov_hal_msg_cosq_map_profile_t& record,
                                 uint32_t slot, HalWait wait);
int ov_hal_sched_profile_msg_send(ov_hal_qos_msg_type_t type, const ov_hal_msg_qos_sched_profile_t& record,
                                  uint32_t slot, HalWait wait);
int ov_hal_traffic_profile_msg_send(ov_hal_qos_msg_type_t type,
                                    const ov_hal_msg_qos_traffic_profile_t& record, uint32_t slot,
                                    HalWait wait);
int ov_hal_cos_to_cos_mapping_msg_send(ov_hal_qos_msg_type_t type,
                                       const ov_hal_msg_cos_to_cos_profile_t& record, uint32_t slot,
                                       HalWait wait);
int ov_hal_port_qos_msg_send(ov_hal_qos_msg_type_t type, const ov_hal_msg_port_qos_t& record, uint32_t slot,
                             HalWait wait);
