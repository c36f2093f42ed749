// QoS profiles as commands type them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "ov_app_gpon_qos.h"

// The command that makes a profile, without the blank in front; empty when none does: managers can make
// profiles with other modes and weights, with names that are no words, without a name.
std::string gpon_qos_profile_line(const ov_app_qos_sched_profile_s& profile);
std::string gpon_qos_profile_line(const ov_app_cosq_map_profile_s& profile);
std::string gpon_qos_profile_line(const ov_app_qos_traffic_profile_s& profile);
std::string gpon_qos_profile_line(const ov_app_cos_to_cos_map_profile_s& profile);

// What a profile says of each queue, or each class of service: a weight, a queue, "100-2000", a class.
using GponQosWords = std::array<std::string, OV_QOS_COS_NUM>;
GponQosWords gpon_qos_profile_words(const ov_app_qos_sched_profile_s& profile);
GponQosWords gpon_qos_profile_words(const ov_app_cosq_map_profile_s& profile);
GponQosWords gpon_qos_profile_words(const ov_app_qos_traffic_profile_s& profile);
GponQosWords gpon_qos_profile_words(const ov_app_cos_to_cos_map_profile_s& profile);

// How a scheduler serves its queues: "sp", "wrr", or "mixed" when they differ or are served otherwise.
const char* gpon_qos_policy(const ov_app_qos_sched_profile_s& profile);

// Both bandwidths of a queue in kbit/s, of "MIN-MAX", of "N" for N-N, of "0" for no limit, which is 0 and 0.
// Nothing for any other word, a minimum of 0 with a maximum included.
struct GponQosBandwidth {
    int32_t min;
    int32_t max;
};
std::optional<GponQosBandwidth> gpon_qos_bandwidth(const char* word);

// Whether something that has this profile can have it again after a replay of the saved configuration: one
// that is always there, or one that has a line.
bool gpon_qos_profile_is_saved(qos_profile_kind_e kind, uint32_t id);
