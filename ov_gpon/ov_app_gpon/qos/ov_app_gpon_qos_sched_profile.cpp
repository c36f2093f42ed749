#include "qosSchedulerProfileTable.h"
#include "qos_kinds.h"

QosList<ov_app_qos_sched_profile_s> g_qos_sched_profile_list;

namespace {

using Profile = ov_app_qos_sched_profile_s;
using Row = ov_qosSchedulerProfileTable_attr_t;
using Record = ov_hal_msg_qos_sched_profile_t;
using Line = QosProfileLine<Profile, Row, Record>;
namespace column = qosSchedulerProfileTable_column;

constexpr unsigned MODE_BITS = 4; // of a queue in the column, queue 0 lowest
constexpr uint32_t MODE_MASK = (1u << MODE_BITS) - 1;
constexpr uint32_t STRICT_PRIORITY = 0x11111111;
constexpr uint32_t FIRST_MODE = 1; // what a row may hold
constexpr uint32_t LAST_MODE = 4;
constexpr mib_long LAST_WEIGHT = 127;

void unpack_modes(uint32_t word, Profile& profile) {
    profile.real_mode = word;
    for (unsigned queue = 0; queue < OV_QOS_COS_NUM; ++queue)
        profile.mode[queue] = word >> (queue * MODE_BITS) & MODE_MASK;
}

constexpr Line LINES[] = {
    Line::text_of<&Profile::name, &Row::qosSchedulerProfileName>(),
    Line::text_of<&Profile::desc, &Row::qosSchedulerProfileDesc>(),
    {.to_row = [](const Profile& profile,
                  Row& row) { row.qosSchedulerProfileQueueScheduleMode = profile.real_mode; },
     .from_row = [](const Row& row,
                    Profile& profile) { unpack_modes(row.qosSchedulerProfileQueueScheduleMode, profile); },
     .to_card = Line::values_to_card<&Profile::mode, &Record::sched_mode>},
    Line::values_of<&Profile::weight, &Record::weight, &Row::qosSchedulerProfileQueue0Weight,
                    &Row::qosSchedulerProfileQueue1Weight, &Row::qosSchedulerProfileQueue2Weight,
                    &Row::qosSchedulerProfileQueue3Weight, &Row::qosSchedulerProfileQueue4Weight,
                    &Row::qosSchedulerProfileQueue5Weight, &Row::qosSchedulerProfileQueue6Weight,
                    &Row::qosSchedulerProfileQueue7Weight>(),
};

constexpr QosProfileKind<Profile, Row, Record> KIND = {
    .what = "qos sched profile",
    .kind = QOS_PROFILE_SCHED,
    .list = &g_qos_sched_profile_list,
    .lines = LINES,
    .id = &Row::qosSchedulerProfileId,
    .start = [](Profile& profile) { unpack_modes(STRICT_PRIORITY, profile); },
    .name_errors = {OV_QOS_SCHED_PROFILE_NAME_NULL, OV_QOS_SCHED_PROFILE_NAME_TOO_LONG},
    .desc_errors = {OV_QOS_SCHED_PROFILE_DESC_NULL, OV_QOS_SCHED_PROFILE_DESC_TOO_LONG},
    .in_use = OV_QOS_SCHED_PROFILE_IN_USE,
    .not_in_use = OV_QOS_SCHED_PROFILE_NOT_IN_USE,
    .add_message = OV_HAL_MSG_QOS_SCHED_PROFILE_ADD,
    .del_message = OV_HAL_MSG_QOS_SCHED_PROFILE_DEL,
    .send = ov_hal_sched_profile_msg_send,
    .check = ov_qos_scheduler_profile_mib_data_check,
};

} // namespace

QOS_PROFILE_DOORS(ov_app_qos_sched_profile, ov_app_qos_sched_profile, ov_app_find_sched_profile_by_id,
                  ov_app_qos_sched_profile_restore_config)

// ---- start ------------------------------------------------------------------------------------------------

void qos_sched_profile_add_default() {
    Profile* profile = ov_app_qos_sched_profile_new();
    if (ov_app_qos_sched_profile_edit_name(profile, "0") != OV_QOS_OK ||
        ov_app_qos_sched_profile_add(profile, SYNC_APP) != OV_QOS_OK)
        ov_app_qos_sched_profile_destroy(profile);
}

void qos_sched_profile_adopt_rows() {
    qos_profile_adopt_rows(KIND);
}

// ---- values -----------------------------------------------------------------------------------------------

int ov_app_qos_sched_profile_edit_id(Profile* profile, uint32_t id) {
    if (!qos_profile_is_open(KIND, profile))
        return OV_QOS_ERR;
    if (id == OV_QOS_DEFAULT_INDEX_ID || id > OV_QOS_SCHED_PROFILE_NUM)
        return OV_QOS_SCHED_PROFILE_INVALID_ID;
    profile->id = id;
    return OV_QOS_OK;
}

int ov_app_qos_sched_profile_edit_mode(Profile* profile, ov_qos_sched_mode_e mode) {
    if (!qos_profile_is_open(KIND, profile) || (mode != OV_QOS_SCHED_SP && mode != OV_QOS_SCHED_WRR))
        return OV_QOS_ERR;
    unpack_modes(STRICT_PRIORITY * mode, *profile);
    return OV_QOS_OK;
}

int ov_app_qos_sched_profile_edit_weight(Profile* profile, const uint32_t* weight, unsigned num) {
    if (!qos_profile_is_open(KIND, profile))
        return OV_QOS_ERR;
    if (num != OV_QOS_COS_NUM)
        return OV_QOS_SCHED_PROFILE_WEIGHT_INVALID_NUM;
    return qos_edit_values(
        profile->weight, weight, num, OV_QOS_SCHED_PROFILE_WEIGHT_MAX,
        {.null = OV_QOS_SCHED_PROFILE_WEIGHT_INVALID_NUM, .value = OV_QOS_SCHED_PROFILE_INVALID_WEIGHT});
}

uint32_t ov_app_qos_sched_profile_get_mode(const Profile* profile, unsigned queue) {
    return profile != nullptr ? qos_value_at(profile->mode, queue, 0) : 0;
}

uint32_t ov_app_qos_sched_profile_get_weight(const Profile* profile, unsigned queue) {
    return profile != nullptr ? qos_value_at(profile->weight, queue, 0) : 0;
}

// ---- the table --------------------------------------------------------------------------------------------

namespace {

bool has_modes(const Row& row) {
    for (unsigned queue = 0; queue < OV_QOS_COS_NUM; ++queue) {
        const uint32_t mode = row.qosSchedulerProfileQueueScheduleMode >> (queue * MODE_BITS) & MODE_MASK;
        if (mode < FIRST_MODE || mode > LAST_MODE)
            return ov_refusal_because_of(column::qosSchedulerProfileQueueScheduleMode,
                                         "queue %u has no mode from 1 to 4", queue);
    }
    return true;
}

bool has_weights(const Row& row) {
    Profile profile = {};
    qos_profile_take_row(KIND, row, profile);
    for (unsigned queue = 0; queue < OV_QOS_COS_NUM; ++queue)
        if (profile.weight[queue] > static_cast<uint32_t>(LAST_WEIGHT))
            return ov_refusal_because_of(column::qosSchedulerProfileQueue0Weight + queue,
                                         "a weight is 0 to 127");
    return true;
}

} // namespace

int ov_qos_scheduler_profile_mib_data_check(MIBDID did, void* pending, MIB_Flags_t /*column_flag*/) {
    const Row& row = *static_cast<const Row*>(pending);
    if (!qos_profile_index_is(row.shelfID, row.qosSchedulerProfileId, 1,
                              static_cast<mib_long>(OV_QOS_SCHED_PROFILE_NUM)))
        return SET_REFUSED;
    if (!qos_gives_values(MibRowStatusGet(did, pending)))
        return SET_ACCEPTED;
    return has_modes(row) && has_weights(row) ? SET_ACCEPTED : SET_REFUSED;
}

int ov_qos_scheduler_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return qos_profile_set_callback(KIND, did, row, column_flag);
}
