// How many queues an ONU has, and which mapping suits it.
#include <algorithm>

#include "app_key.h"
#include "app_rows.h"
#include "ov_app_gpon_onutype.h"
#include "ov_app_gpon_owner.h"
#include "ov_app_gpon_qos.h"
#include "ov_ifindex.h"

namespace {

constexpr int DOWNSTREAM = 1;

int no_queues(ov_onu_queue_num_s* queue) {
    if (queue != nullptr)
        *queue = {OV_QOS_INVALID_QUEUE_NUM, OV_QOS_INVALID_QUEUE_NUM};
    return OV_QOS_ERR;
}

// The type of an ONU, or of a service profile in its place; null for none.
const char* type_name_of(ov_ifindex_t ifindex) {
    const auto key = onu_key_of_ifindex<ov_sOnuTable_attr_t>(ifindex);
    if (is_template_row(key)) {
        const ov_sOnuSrvProfileTable_attr_t* profile = ov_app_gpon_srvprofile_of(key.onuId);
        return profile != nullptr ? profile->sOnuTypeProfileName : nullptr;
    }
    const ov_sOnuTable_attr_t* onu = find_row(key);
    return onu != nullptr ? onu->sOnuTableOnuTypeProfileName : nullptr;
}

} // namespace

int ov_get_onu_queue_num_by_onu_type_name(const char* name, ov_onu_queue_num_s* queue) {
    ov_sOnuTypeProfileTable_attr_t key = {};
    if (name == nullptr || queue == nullptr || ov_app_gpon_onutype_getId(name, &key.onuTypeProfileId) != 1)
        return no_queues(queue);
    const ov_sOnuTypeProfileTable_attr_t* type = find_row(key);
    if (type == nullptr)
        return no_queues(queue);
    *queue = {static_cast<unsigned>(type->sOnuTypeProfileTableUpQueueNum),
              static_cast<unsigned>(type->sOnuTypeProfileTableDwnQueueNum)};
    return OV_QOS_OK;
}

int ov_get_onu_queue_num_by_onu_ifindex(ov_ifindex_t ifindex, ov_onu_queue_num_s* queue) {
    return ov_get_onu_queue_num_by_onu_type_name(type_name_of(ifindex), queue);
}

int ov_check_legal_cosq_map_for_onu(const ov_app_cosq_map_profile_s* profile, ov_ifindex_t ifindex, int dir) {
    if (dir == 0)
        return 0;
    ov_onu_queue_num_s queues = {};
    if (dir != DOWNSTREAM || profile == nullptr ||
        ov_get_onu_queue_num_by_onu_ifindex(ifindex, &queues) != OV_QOS_OK)
        return 1;
    const uint32_t highest = *std::max_element(std::begin(profile->cosq), std::end(profile->cosq));
    return highest + 1 <= queues.down ? 0 : 1;
}

int ov_app_onu_cosq_defId(ov_ifindex_t ifindex, uint32_t* defId) {
    if (defId == nullptr)
        return OV_QOS_ERR;
    ov_onu_queue_num_s queues = {};
    ov_get_onu_queue_num_by_onu_ifindex(ifindex, &queues);
    switch (queues.up) {
    case 8:
        *defId = 0;
        break;
    case 4:
        *defId = 5;
        break;
    case 2:
        *defId = 6;
        break;
    case 1:
        *defId = 7;
        break;
    default:
        *defId = OV_QOS_COSQ_MAP_PROFILE_NUM;
    }
    return OV_QOS_OK;
}
