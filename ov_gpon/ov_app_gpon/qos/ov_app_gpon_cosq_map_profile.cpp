#include "cosQueueMappingProfileTable.h"
#include "portQosTable.h"
#include "qos_kinds.h"

QosList<ov_app_cosq_map_profile_s> g_cosq_map_profile_list;

namespace {

using Profile = ov_app_cosq_map_profile_s;
using Row = ov_cosQueueMappingProfileTable_attr_t;
using Record = ov_hal_msg_cosq_map_profile_t;
using Line = QosProfileLine<Profile, Row, Record>;
namespace column = cosQueueMappingProfileTable_column;

constexpr Line LINES[] = {
    Line::text_of<&Profile::name, &Row::cosQueueMappingProfileName>(),
    Line::text_of<&Profile::desc, &Row::cosQueueMappingProfileDesc>(),
    Line::values_of<
        &Profile::cosq, &Record::cosq, &Row::cosQueueMappingCos0Queue, &Row::cosQueueMappingCos1Queue,
        &Row::cosQueueMappingCos2Queue, &Row::cosQueueMappingCos3Queue, &Row::cosQueueMappingCos4Queue,
        &Row::cosQueueMappingCos5Queue, &Row::cosQueueMappingCos6Queue, &Row::cosQueueMappingCos7Queue>(),
};

constexpr QosProfileKind<Profile, Row, Record> KIND = {
    .what = "qos cosq mapping profile",
    .kind = QOS_PROFILE_COSQ_MAP,
    .list = &g_cosq_map_profile_list,
    .lines = LINES,
    .id = &Row::cosQueueMappingProfileId,
    .name_errors = {OV_QOS_COSQ_MAP_PROFILE_NAME_NULL, OV_QOS_COSQ_MAP_PROFILE_NAME_TOO_LONG},
    .desc_errors = {OV_QOS_COSQ_MAP_PROFILE_DESC_NULL, OV_QOS_COSQ_MAP_PROFILE_DESC_TOO_LONG},
    .in_use = OV_QOS_COSQ_MAP_PROFILE_IN_USE,
    .not_in_use = OV_QOS_COSQ_MAP_PROFILE_NOT_IN_USE,
    .already_used = "Already used cosq profile id: ",
    .unlike = &Profile::cosq,
    .duplicate = OV_QOS_COSQ_MAP_PROFILE_DUPLICATE,
    .add_message = OV_HAL_MSG_COSQ_MAP_PROFILE_ADD,
    .del_message = OV_HAL_MSG_COSQ_MAP_PROFILE_DEL,
    .send = ov_hal_cosq_mapping_msg_send,
    .added_without_card = true,
    .check = ov_qos_cos_queue_mib_data_check,
    .deleted_without_profile = true,
};

struct DefaultMapping {
    uint32_t id;
    const char* name;
    uint32_t cosq[OV_QOS_COS_NUM];
};
constexpr DefaultMapping DEFAULTS[] = {
    {7, "7", {0, 0, 0, 0, 0, 0, 0, 0}},
    {6, "6", {0, 0, 0, 0, 1, 1, 1, 1}},
    {5, "5", {0, 0, 1, 1, 2, 2, 3, 3}},
    {0, "0", {0, 1, 2, 3, 4, 5, 6, 7}},
};

bool is_internal(uint32_t id) {
    for (const DefaultMapping& mapping : DEFAULTS)
        if (mapping.id == id)
            return true;
    return false;
}

void add_default(const DefaultMapping& mapping) {
    Profile* profile = ov_app_cosq_map_profile_new();
    if (ov_app_cosq_map_profile_edit_internal_id(profile, mapping.id) == OV_QOS_OK &&
        ov_app_cosq_map_profile_edit_name(profile, mapping.name) == OV_QOS_OK &&
        ov_app_cosq_map_profile_edit_cosq(profile, mapping.cosq, OV_QOS_COS_NUM) == OV_QOS_OK &&
        ov_app_cosq_mapping_profile_add(profile, SYNC_MIB | SYNC_APP) == OV_QOS_OK)
        return;
    OV_LOG_ERROR("QOS", "add default %s %d failed", KIND.what, static_cast<int>(mapping.id));
    ov_app_cosq_map_profile_destroy(profile);
}

} // namespace

QOS_PROFILE_DOORS(ov_app_cosq_map_profile, ov_app_cosq_mapping_profile, ov_app_find_cosq_map_profile_by_id,
                  ov_app_cosq_mapping_profile_restore_config)

// ---- start ------------------------------------------------------------------------------------------------

void qos_cosq_map_profile_add_defaults() {
    for (const DefaultMapping& mapping : DEFAULTS)
        add_default(mapping);
}

void qos_cosq_map_profile_adopt_rows() {
    qos_profile_adopt_rows(KIND);
}

// ---- values -----------------------------------------------------------------------------------------------

int ov_app_cosq_map_profile_edit_id(Profile* profile, uint32_t id) {
    if (!qos_profile_is_open(KIND, profile))
        return OV_QOS_ERR;
    if (is_internal(id))
        return OV_QOS_COSQ_MAP_PROFILE_INTERNAL_ID;
    if (id > OV_QOS_COSQ_MAP_PROFILE_ID_MAX)
        return OV_QOS_COSQ_MAP_PROFILE_INVALID_ID;
    profile->id = id;
    return OV_QOS_OK;
}

int ov_app_cosq_map_profile_edit_internal_id(Profile* profile, uint32_t id) {
    if (profile == nullptr)
        return OV_QOS_ERR;
    if (!is_internal(id))
        return OV_QOS_COSQ_MAP_PROFILE_INVALID_ID;
    profile->id = id;
    return OV_QOS_OK;
}

int ov_app_cosq_map_profile_edit_cosq(Profile* profile, const uint32_t* cosq, unsigned num) {
    if (!qos_profile_is_open(KIND, profile))
        return OV_QOS_ERR;
    return qos_edit_values(profile->cosq, cosq, num, OV_QOS_COS_NUM - 1,
                           {.null = OV_QOS_COSQ_MAP_PROFILE_COSQ_NULL,
                            .number = OV_QOS_COSQ_MAP_PROFILE_COSQ_TOO_MANY,
                            .value = OV_QOS_COSQ_MAP_PROFILE_BAD_NUM});
}

uint32_t ov_app_cosq_map_profile_get_cosq(const Profile* profile, unsigned cos) {
    return profile != nullptr ? qos_value_at(profile->cosq, cos, OV_QOS_INVALID_QUEUE_NUM)
                              : OV_QOS_INVALID_QUEUE_NUM;
}

// ---- the table --------------------------------------------------------------------------------------------

namespace {

// The mode is asked of portQosTable, whose record is another: it gets one with this row's status.
int mode_of(const Row& row) {
    ov_portQosTable_attr_t port = {};
    port.portQosRowStatus = row.cosQueueMappingProfileRowStatus;
    port.old_portQosRowStatus = row.old_cosQueueMappingProfileRowStatus;
    return MibRowStatusGet(did_of<ov_portQosTable_attr_t>(), &port);
}

} // namespace

int ov_qos_cos_queue_mib_data_check(MIBDID /*did*/, void* pending, MIB_Flags_t /*column_flag*/) {
    const Row& row = *static_cast<const Row*>(pending);
    if (!qos_profile_index_is(row.shelfID, row.cosQueueMappingProfileId, 1,
                              static_cast<mib_long>(OV_QOS_COSQ_MAP_PROFILE_ID_MAX)))
        return SET_REFUSED;
    if (!qos_gives_values(mode_of(row)))
        return SET_ACCEPTED;
    Profile profile = {};
    qos_profile_take_row(KIND, row, profile);
    for (unsigned cos = 0; cos < OV_QOS_COS_NUM; ++cos)
        if (profile.cosq[cos] >= OV_QOS_COS_NUM) {
            ov_refusal_because_of(column::cosQueueMappingCos0Queue + cos, "a queue is 0 to 7");
            return SET_REFUSED;
        }
    return SET_ACCEPTED;
}

int ov_cos_queue_mapping_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return qos_profile_set_callback(KIND, did, row, column_flag);
}
