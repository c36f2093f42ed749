#include "ov_hal_qos_msg.h"

#include <cstring>

#include "hal_sock.h"

namespace {

constexpr uint16_t QOS_MSG_FLAGS = 1;

template <typename Record>
int send_plain(ov_hal_qos_msg_type_t type, const Record& record, uint32_t slot, HalWait wait) {
    hal_msg_t msg;
    msg.hdr = {};
    msg.hdr.nlmsg_len = static_cast<uint32_t>(sizeof msg.hdr + sizeof record);
    msg.hdr.nlmsg_type = type;
    msg.hdr.nlmsg_flags = QOS_MSG_FLAGS;
    msg.hdr.nlmsg_pid = slot;
    std::memcpy(msg.buf, &record, sizeof record);
    return static_cast<int>(wait == HalWait::FOR_CARD ? hal_send(&msg.hdr) : hal_send_async(&msg.hdr));
}

} // namespace

int ov_hal_cosq_mapping_msg_send(ov_hal_qos_msg_type_t type, const ov_hal_msg_cosq_map_profile_t& record,
                                 uint32_t slot, HalWait wait) {
    return send_plain(type, record, slot, wait);
}

int ov_hal_sched_profile_msg_send(ov_hal_qos_msg_type_t type, const ov_hal_msg_qos_sched_profile_t& record,
                                  uint32_t slot, HalWait wait) {
    return send_plain(type, record, slot, wait);
}

int ov_hal_traffic_profile_msg_send(ov_hal_qos_msg_type_t type,
                                    const ov_hal_msg_qos_traffic_profile_t& record, uint32_t slot,
                                    HalWait wait) {
    return send_plain(type, record, slot, wait);
}

int ov_hal_cos_to_cos_mapping_msg_send(ov_hal_qos_msg_type_t type,
                                       const ov_hal_msg_cos_to_cos_profile_t& record, uint32_t slot,
                                       HalWait wait) {
    return send_plain(type, record, slot, wait);
}

int ov_hal_port_qos_msg_send(ov_hal_qos_msg_type_t type, const ov_hal_msg_port_qos_t& record, uint32_t slot,
                             HalWait wait) {
    return send_plain(type, record, slot, wait);
}
