// What ports, ONUs and service ports are given of the QoS profiles. A profile is given to the session's
// object: an ONU's record on the node of ONUs, else a port's.
#include "cli_command_rows.h"
#include "cli_objects.h"
#include "kavo_vty_object.h"
#include "ov_app_gpon_qos.h"
#include "ov_gpon_qos_cli.h"
#include "ov_gpon_qos_config.h"
#include "ov_gpon_qos_profile.h"
#include "ov_refusal.h"
#include "servicePortTable.h"

namespace {

// The number of a profile, 0 for "default".
uint32_t profile_of(const CliCall& call, const char* name) {
    const std::string_view word = call.words.text(name);
    return word == "default" ? OV_QOS_DEFAULT_INDEX_ID : call.words.number<uint32_t>(name);
}

ov_ifindex_t session_object(const CliCall& call) {
    ov_ifindex_t ifindex = 0;
    ov_get_ifindex_from_vtysh(call.vty, &ifindex);
    return ifindex;
}

// Changes the record of the session's port and hands it on: what the application answered first that isn't
// OV_QOS_OK.
template <typename Edit>
int change_port(const CliCall& call, Edit edit) {
    auto* qos = ov_app_find_port_qos_by_ifindex(session_object(call));
    if (qos == nullptr)
        return OV_PORT_QOS_NO_IN_USE;
    if (const int result = edit(qos); result != OV_QOS_OK)
        return result;
    return ov_app_port_qos_set(qos, SYNC_EVERY_COPY);
}

// The same of the session's ONU.
template <typename Edit>
int change_onu(const CliCall& call, Edit edit) {
    auto* qos = ov_app_find_onu_qos_by_ifindex(session_object(call));
    if (qos == nullptr)
        return OV_ONU_QOS_NOT_IN_USE;
    if (const int result = edit(qos); result != OV_QOS_OK)
        return result;
    return ov_app_onu_qos_set(qos, SYNC_EVERY_COPY);
}

// Gives the session's port or ONU a profile.
int allocate(const CliCall& call, uint32_t profile, int (*to_port)(ov_app_port_qos_s*, uint32_t),
             int (*to_onu)(ov_app_onu_qos_s*, uint32_t)) {
    if (call.vty->node == GPON_ONU_NODE)
        return gpon_qos_onu_answer(call, change_onu(call, [=](auto* qos) { return to_onu(qos, profile); }),
                                   profile);
    return gpon_qos_port_answer(call, change_port(call, [=](auto* qos) { return to_port(qos, profile); }),
                                profile);
}

int ov_qos_queue_scheduler_allocate_cli(CliCall& call) {
    return allocate(call, profile_of(call, "qos-queue-scheduler"), ov_app_port_qos_edit_qos_sched_profile,
                    ov_app_onu_qos_edit_sched_profile);
}

int ov_qos_queue_traffic_allocate_cli(CliCall& call) {
    return allocate(call, profile_of(call, "qos-queue-traffic"), ov_app_port_qos_edit_qos_traffic_profile,
                    ov_app_onu_qos_edit_traffic_profile);
}

int ov_qos_queue_scheduler_model_cli(CliCall& call) {
    const auto model = call.words.has("hierarchy") ? OV_QOS_SCHED_HIERARCHY : OV_QOS_SCHED_SIMPLE;
    const int result =
        change_port(call, [model](auto* qos) { return ov_app_port_qos_edit_sched_mode(qos, model); });
    return gpon_qos_port_answer(call, result, model);
}

int ov_cos_queue_map_allocate_cli(CliCall& call) {
    const uint32_t profile = profile_of(call, "cos-queue-map");
    const int result = change_port(
        call, [profile](auto* qos) { return ov_app_port_qos_edit_cosq_map_profile(qos, profile); });
    return gpon_qos_port_answer(call, result, profile);
}

// Both profiles or none.
int ov_cos_to_cos_map_both_direction_allocate_cli(CliCall& call) {
    const uint32_t profiles[QOS_LINKS] = {profile_of(call, "uplink"), profile_of(call, "downlink")};
    for (const uint32_t profile : profiles)
        if (ov_app_find_cos_to_cos_map_profile_by_id(profile) == nullptr)
            return gpon_qos_port_answer(call, OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE, profile);
    const int result = change_port(call, [&profiles](auto* qos) {
        for (const qos_link_e link : {QOS_UP_LINK, QOS_DOWN_LINK})
            if (const int answer = ov_app_port_qos_edit_cos_to_cos_profile(qos, profiles[link], link);
                answer != OV_QOS_OK)
                return answer;
        return int{OV_QOS_OK};
    });
    return gpon_qos_port_answer(call, result, profiles[QOS_UP_LINK]);
}

// Whether the ONU has all queues of a profile, if there is such a profile.
bool has_queues(ov_ifindex_t onu, uint32_t profile) {
    const auto* mapping = ov_app_find_cosq_map_profile_by_id(profile);
    constexpr int DOWNSTREAM = 1;
    if (mapping == nullptr || ov_check_legal_cosq_map_for_onu(mapping, onu, DOWNSTREAM) == 0)
        return true;
    ov_onu_queue_num_s queues = {};
    ov_get_onu_queue_num_by_onu_ifindex(onu, &queues);
    ov_refusal_because("cos-queue-map profile %u has queues beyond the %u downstream queues of the ONU",
                       profile, queues.down);
    return false;
}

int ov_cos_queue_map_onu_downlink_allocate_cli(CliCall& call) {
    const ov_ifindex_t onu = session_object(call);
    const bool is_default = call.words.has("default");
    const uint32_t profile = is_default ? gpon_qos_own_mapping(onu) : call.words.number<uint32_t>("downlink");
    if (!is_default && !has_queues(onu, profile))
        return gpon_qos_port_answer(call, OV_QOS_ERR, profile);
    const int result =
        change_onu(call, [profile](auto* qos) { return ov_app_onu_qos_edit_cosq_map_profile(qos, profile); });
    return gpon_qos_onu_answer(call, result, profile);
}

// ---- service ports ----------------------------------------------------------------------------------------

constexpr ColName NO_PROFILE[] = {{OV_QOS_DEFAULT_INDEX_ID, "default"}};

int cos_to_cos_is_there(const CliCall& call, const void* row) {
    const auto& port = *static_cast<const ov_servicePortTable_attr_t*>(row);
    if (ov_app_find_cos_to_cos_map_profile_by_id(port.servicePortUplinkCosToCosProfileId) != nullptr)
        return 0;
    gpon_qos_state_reason(OV_QOS_COS_TO_COS_PROFILE_NOT_IN_USE);
    return call.fail_of("%%Could not set service port: %d%s", port.servicePortId);
}

bool cos_to_cos_is_saved(const void* row) {
    const auto& port = *static_cast<const ov_servicePortTable_attr_t*>(row);
    return gpon_qos_profile_is_saved(QOS_PROFILE_COS_TO_COS, port.servicePortUplinkCosToCosProfileId);
}

using namespace cli_objects;
using namespace servicePortTable_column;
const CliCommand qos_binding_cmds[] = {
#include "commands/qos.def"
};

} // namespace

void gpon_qos_binding_cli_init() {
    cli_install(qos_binding_cmds);
}
