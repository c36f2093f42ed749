#include "qosTrafficProfileTable.h"
#include "qos_kinds.h"

QosList<ov_app_qos_traffic_profile_s> g_qos_traffic_profile_list;

namespace {

using Profile = ov_app_qos_traffic_profile_s;
using Row = ov_qosTrafficProfileTable_attr_t;
using Record = ov_hal_msg_qos_traffic_profile_t;
using Line = QosProfileLine<Profile, Row, Record>;
namespace column = qosTrafficProfileTable_column;

constexpr Line MAX_BW =
    Line::values_of<&Profile::max_bw, &Record::max_bw, &Row::qosTrafficQueue0MaxBw,
                    &Row::qosTrafficQueue1MaxBw, &Row::qosTrafficQueue2MaxBw, &Row::qosTrafficQueue3MaxBw,
                    &Row::qosTrafficQueue4MaxBw, &Row::qosTrafficQueue5MaxBw, &Row::qosTrafficQueue6MaxBw,
                    &Row::qosTrafficQueue7MaxBw>();

constexpr Line LINES[] = {
    Line::text_of<&Profile::name, &Row::qosTrafficProfileName>(),
    Line::text_of<&Profile::desc, &Row::qosTrafficProfileDesc>(),
    MAX_BW,
    Line::values_of<&Profile::min_bw, &Record::min_bw, &Row::qosTrafficQueue0MinBw,
                    &Row::qosTrafficQueue1MinBw, &Row::qosTrafficQueue2MinBw, &Row::qosTrafficQueue3MinBw,
                    &Row::qosTrafficQueue4MinBw, &Row::qosTrafficQueue5MinBw, &Row::qosTrafficQueue6MinBw,
                    &Row::qosTrafficQueue7MinBw>(),
};

constexpr QosProfileKind<Profile, Row, Record> KIND = {
    .what = "qos traffic profile",
    .kind = QOS_PROFILE_TRAFFIC,
    .list = &g_qos_traffic_profile_list,
    .lines = LINES,
    .id = &Row::qosTrafficProfileId,
    .start = [](Profile& profile) { std::fill_n(profile.max_bw, OV_QOS_COS_NUM, OV_QOS_TRAFFIC_NO_LIMIT); },
    .name_errors = {OV_QOS_TRAFFIC_PROFILE_NAME_NULL, OV_QOS_TRAFFIC_PROFILE_NAME_TOO_LONG},
    .desc_errors = {OV_QOS_TRAFFIC_PROFILE_DESC_NULL, OV_QOS_TRAFFIC_PROFILE_DESC_TOO_LONG},
    .in_use = OV_QOS_TRAFFIC_PROFILE_IN_USE,
    .not_in_use = OV_QOS_TRAFFIC_PROFILE_NOT_IN_USE,
    .already_used = "Already used qos traffic profile: ",
    .add_message = OV_HAL_MSG_QOS_TRAFFIC_PROFILE_ADD,
    .del_message = OV_HAL_MSG_QOS_TRAFFIC_PROFILE_DEL,
    .send = ov_hal_traffic_profile_msg_send,
    .check = ov_qos_traffic_profile_mib_data_check,
};

bool is_bandwidth(int32_t bw) {
    return bw >= 0 && bw <= OV_QOS_TRAFFIC_BW_MAX;
}

// Judges the bandwidths of a queue; a queue without any is left without a limit.
bool settle_limits(int32_t min_bw, int32_t& max_bw) {
    if (min_bw == 0 && (max_bw == 0 || max_bw == OV_QOS_TRAFFIC_NO_LIMIT)) {
        max_bw = OV_QOS_TRAFFIC_NO_LIMIT;
        return true;
    }
    return min_bw != 0 && is_bandwidth(min_bw) && is_bandwidth(max_bw) && max_bw >= min_bw;
}

} // namespace

QOS_PROFILE_DOORS(ov_app_qos_traffic_profile, ov_app_qos_traffic_profile,
                  ov_app_find_qos_traffic_profile_by_id, ov_app_qos_traffic_profile_restore_config)

// ---- start ------------------------------------------------------------------------------------------------

void qos_traffic_profile_add_default() {
    Profile* profile = ov_app_qos_traffic_profile_new();
    if (ov_app_qos_traffic_profile_edit_name(profile, "0") != OV_QOS_OK ||
        ov_app_qos_traffic_profile_add(profile, SYNC_APP) != OV_QOS_OK)
        ov_app_qos_traffic_profile_destroy(profile);
}

void qos_traffic_profile_adopt_rows() {
    qos_profile_adopt_rows(KIND);
}

// ---- values -----------------------------------------------------------------------------------------------

int ov_app_qos_traffic_profile_edit_id(Profile* profile, uint32_t id) {
    if (!qos_profile_is_open(KIND, profile))
        return OV_QOS_ERR;
    if (id > OV_QOS_TRAFFIC_PROFILE_NUM)
        return OV_QOS_TRAFFIC_PROFILE_INVALID_ID;
    profile->id = id;
    return OV_QOS_OK;
}

int ov_app_qos_traffic_profile_edit_bw(Profile* profile, unsigned queue, int32_t min_bw, int32_t max_bw) {
    if (!qos_profile_is_open(KIND, profile) || queue >= OV_QOS_COS_NUM || !settle_limits(min_bw, max_bw))
        return OV_QOS_ERR;
    profile->min_bw[queue] = min_bw;
    profile->max_bw[queue] = max_bw;
    return OV_QOS_OK;
}

int32_t ov_app_qos_traffic_profile_get_min_bw(const Profile* profile, unsigned queue) {
    return profile != nullptr && queue < OV_QOS_COS_NUM ? profile->min_bw[queue] : 0;
}

int32_t ov_app_qos_traffic_profile_get_max_bw(const Profile* profile, unsigned queue) {
    return profile != nullptr && queue < OV_QOS_COS_NUM ? profile->max_bw[queue] : 0;
}

// ---- the table --------------------------------------------------------------------------------------------

int ov_qos_traffic_profile_mib_data_check(MIBDID did, void* pending, MIB_Flags_t /*column_flag*/) {
    Row& row = *static_cast<Row*>(pending);
    if (!qos_profile_index_is(row.shelfID, row.qosTrafficProfileId, 0,
                              static_cast<mib_long>(OV_QOS_TRAFFIC_PROFILE_NUM)))
        return SET_REFUSED;
    if (!qos_gives_values(MibRowStatusGet(did, pending)))
        return SET_ACCEPTED;
    Profile profile = {};
    qos_profile_take_row(KIND, row, profile);
    for (unsigned queue = 0; queue < OV_QOS_COS_NUM; ++queue)
        if (!settle_limits(profile.min_bw[queue], profile.max_bw[queue])) {
            ov_refusal_because_of(column::qosTrafficQueue0MaxBw + queue,
                                  "queue %u: 1 to 100000000, not below its minimum, or 0 and 0", queue);
            return SET_REFUSED;
        }
    MAX_BW.to_row(profile, row);
    return SET_ACCEPTED;
}

int ov_qos_traffic_profile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag) {
    return qos_profile_set_callback(KIND, did, row, column_flag);
}
