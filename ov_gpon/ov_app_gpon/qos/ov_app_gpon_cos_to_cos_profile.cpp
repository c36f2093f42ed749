#include "cosToCosProfileTable.h"
#include "qos_kinds.h"

QosList<ov_app_cos_to_cos_map_profile_s> g_cos_to_cos_map_profile_list;

namespace {

using Profile = ov_app_cos_to_cos_map_profile_s;
using Row = ov_cosToCosProfileTable_attr_t;
using Record = ov_hal_msg_cos_to_cos_profile_t;
using Line = QosProfileLine<Profile, Row, Record>;

constexpr Line LINES[] = {
    Line::text_of<&Profile::name, &Row::cosToCosProfileName>(),
    Line::text_of<&Profile::desc, &Row::cosToCosProfileDesc>(),
    Line::values_of<&Profile::mapped_cos, &Record::mapped_cos, &Row::cos0ToCos, &Row::cos1ToCos,
                    &Row::cos2ToCos, &Row::cos3ToCos, &Row::cos4ToCos, &Row::cos5ToCos, &Row::cos6ToCos,
                    &Row::cos7ToCos>(),
};

constexpr QosProfileKind<Profile, Row, Record> KIND = {
    .what = "qos cos to cos profile",
    .kind = QOS_PROFILE_COS_TO_COS,
    .list = &g_cos_to_cos_map_profile_list,
    .lines = LINES,
    .id = &Row::cosToCosProfileId,
    .in_use = OV_QOS_COS_TO_COS_PROFILE_IN_USE,
    .not_in_use = OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE,
    .already_used = "Already used cos to cos profile id: ",
    .unlike = &Profile::mapped_cos,
    .duplicate = OV_QOS_COS_TO_COS_PROFILE_DUPLICATE,
    .add_message = OV_HAL_MSG_COS_TO_COS_PROFILE_ADD,
    .del_message = OV_HAL_MSG_COS_TO_COS_PROFILE_DEL,
    .send = ov_hal_cos_to_cos_mapping_msg_send,
};

constexpr uint32_t IDENTITY[OV_QOS_COS_NUM] = {0, 1, 2, 3, 4, 5, 6, 7};

} // namespace

QOS_PROFILE_DOORS(ov_app_cos_to_cos_map_profile, ov_app_cos_to_cos_mapping_profile,
                  ov_app_find_cos_to_cos_map_profile_by_id, ov_app_cos_to_cos_profile_restore_config)

// ---- start ------------------------------------------------------------------------------------------------

void qos_cos_to_cos_profile_add_default() {
    Profile* profile = ov_app_cos_to_cos_map_profile_new();
    if (ov_app_cos_to_cos_map_profile_edit_name(profile, "0") != OV_QOS_OK ||
        ov_app_cos_to_cos_map_profile_edit_mapped_cos(profile, IDENTITY, OV_QOS_COS_NUM) != OV_QOS_OK ||
        ov_app_cos_to_cos_mapping_profile_add(profile, SYNC_APP) != OV_QOS_OK)
        ov_app_cos_to_cos_map_profile_destroy(profile);
}

void qos_cos_to_cos_profile_adopt_rows() {
    qos_profile_adopt_rows(KIND);
}

// ---- values -----------------------------------------------------------------------------------------------

int ov_app_cos_to_cos_map_profile_edit_id(Profile* profile, uint32_t id) {
    if (!qos_profile_is_open(KIND, profile) || id == OV_QOS_DEFAULT_INDEX_ID ||
        id >= OV_QOS_COS_TO_COS_PROFILE_NUM)
        return OV_QOS_ERR;
    profile->id = id;
    return OV_QOS_OK;
}

int ov_app_cos_to_cos_map_profile_edit_mapped_cos(Profile* profile, const uint32_t* mapped_cos,
                                                  unsigned num) {
    if (!qos_profile_is_open(KIND, profile))
        return OV_QOS_ERR;
    return qos_edit_values(profile->mapped_cos, mapped_cos, num, OV_QOS_COS_NUM - 1, {});
}

uint32_t ov_app_cos_to_cos_map_profile_get_mapped_cos(const Profile* profile, unsigned cos) {
    return profile != nullptr ? qos_value_at(profile->mapped_cos, cos, cos) : cos;
}

// ---- the table --------------------------------------------------------------------------------------------

// Nobody checks its values but the table itself.
int ov_cos_to_cos_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return qos_profile_set_callback(KIND, did, row, column_flag);
}
