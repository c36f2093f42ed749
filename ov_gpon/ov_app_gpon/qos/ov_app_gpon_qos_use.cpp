#include "ov_app_gpon_qos_codes.h"
#include "ov_product_log.h"
#include "ov_refusal.h"
#include "qos_use.h"

uint32_t g_qos_profile_use_cnt[QOS_PROFILE_KINDS][QOS_PROFILE_IDS] = {};

namespace {

uint32_t* counter(qos_profile_kind_e kind, uint32_t id) {
    return kind < QOS_PROFILE_KINDS && id < QOS_PROFILE_IDS ? &g_qos_profile_use_cnt[kind][id] : nullptr;
}

// COS-to-COS profile 8 stands for none, whoever made one.
bool exists(qos_profile_kind_e kind, uint32_t id) {
    switch (kind) {
    case QOS_PROFILE_COSQ_MAP:
        return ov_app_find_cosq_map_profile_by_id(id) != nullptr;
    case QOS_PROFILE_SCHED:
        return ov_app_find_sched_profile_by_id(id) != nullptr;
    case QOS_PROFILE_TRAFFIC:
        return ov_app_find_qos_traffic_profile_by_id(id) != nullptr;
    default:
        return id < OV_QOS_COS_TO_COS_PROFILE_INVALID &&
               ov_app_find_cos_to_cos_map_profile_by_id(id) != nullptr;
    }
}

struct KindFacts {
    const char* what;
    int missing;
    mib_long last;        // id that a row may name
    const char* row_word; // of the log line
    const char* row_ending;
};
constexpr KindFacts FACTS[QOS_PROFILE_KINDS] = {
    {"COS-to-queue mapping", OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE, 8, "cosQueueMappingProfileId", ""},
    {"scheduler profile", OV_QOS_SCHED_PROFILE_NOT_IN_USE, 16, "qosSchedulerProfileId", "."},
    {"traffic profile", OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE, 128, "qostrafficprofile", ""},
    {"COS-to-COS profile", OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE, 7, "cosToCosProfileId", ""},
};

} // namespace

uint32_t qos_profile_use_count(qos_profile_kind_e kind, uint32_t id) {
    const uint32_t* count = counter(kind, id);
    return count != nullptr ? *count : 0;
}

void qos_profile_use(qos_profile_kind_e kind, uint32_t id) {
    if (uint32_t* count = counter(kind, id))
        ++*count;
}

void qos_profile_leave(qos_profile_kind_e kind, uint32_t id) {
    if (uint32_t* count = counter(kind, id); count != nullptr && *count > 0)
        --*count;
}

int qos_profile_must_exist(qos_profile_kind_e kind, uint32_t id) {
    if (id == OV_QOS_DEFAULT_INDEX_ID || exists(kind, id))
        return OV_QOS_OK;
    ov_refusal_because("no %s %u", FACTS[kind].what, static_cast<unsigned>(id));
    return FACTS[kind].missing;
}

bool qos_row_may_name(qos_profile_kind_e kind, mib_long id) {
    const KindFacts& facts = FACTS[kind];
    if (id < 0 || id > facts.last)
        return ov_refusal_because("a %s is 0 to %d", facts.what, static_cast<int>(facts.last));
    if (qos_profile_must_exist(kind, static_cast<uint32_t>(id)) == OV_QOS_OK)
        return true;
    OV_LOG_ERROR("QOS", "%s id %d not exist%s", facts.row_word, static_cast<int>(id), facts.row_ending);
    return false;
}
