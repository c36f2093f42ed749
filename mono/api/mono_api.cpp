#include "mono_api.h"

#include <cstdio>
#include <cstring>

namespace {

// Longest texts that the controller takes.
constexpr size_t MAX_APP_NAME = 127;
constexpr size_t MAX_TABLE_NAME = 62;

template <typename Body>
msg* request(UMSG_TYPE type, const Body& body) {
    return msg_new(type, &body, uclient_get_seqnr(), sizeof(body));
}

// Requests without arguments carry one empty word.
msg* empty_request(UMSG_TYPE type) {
    return request(type, uint32_t{0});
}

// A replay record, zeroed but for the name; false without a name.
bool start_cfg_sync(umsg_cfg_sync_t* body, const char* appName) {
    if (!appName)
        return false;
    *body = {};
    static_assert(MAX_APP_NAME < sizeof(body->appName));
    std::memcpy(body->appName, appName, strnlen(appName, MAX_APP_NAME));
    return true;
}

int send(const char* name, msg* request, msg_reply* reply = nullptr) {
    if (!request) {
        fprintf(stderr, "%s failed\n", name);
        return -1;
    }
    return uclient_send_request(uclient, request, reply);
}

} // namespace

msg* mono_msg_get_if() {
    return empty_request(UMSG_GET_IF);
}

int mono_api_get_if(msg_reply* reply) {
    return send(__func__, mono_msg_get_if(), reply);
}

msg* mono_msg_get_hostname() {
    return empty_request(UMSG_GET_HOSTNAME);
}

int mono_api_get_hostname(msg_reply* reply) {
    return send(__func__, mono_msg_get_hostname(), reply);
}

msg* mono_msg_loopdetect_set(ov_ifindex_t ifindex, uint32_t set) {
    return request(UMSG_IF_LOOPDETECT, umsg_loopdetect_t{.ifindex = ifindex, .set = set});
}

int mono_api_loopdetect_set(ov_ifindex_t ifindex, uint32_t set) {
    return send(__func__, mono_msg_loopdetect_set(ifindex, set));
}

msg* mono_msg_trunk_set(uint32_t set, uint32_t tid, ov_ifindex_t ifindex) {
    return request(UMSG_TRUNK_SET, umsg_trunk_t{.set = set, .tid = tid, .ifindex = ifindex});
}

int mono_api_trunk_set(uint32_t set, uint32_t tid, ov_ifindex_t ifindex) {
    return send(__func__, mono_msg_trunk_set(set, tid, ifindex));
}

msg* mono_msg_port_scheduler_mode_set(ov_ifindex_t ifindex, uint32_t sch_mode) {
    return request(UMSG_PORT_SCHEDULER_SET, umsg_port_qos_t{.ifindex = ifindex, .scheduler_mode = sch_mode});
}

int mono_api_port_scheduler_mode_set(ov_ifindex_t ifindex, uint32_t sch_mode) {
    return send(__func__, mono_msg_port_scheduler_mode_set(ifindex, sch_mode));
}

msg* mono_msg_cfg_sync_prio_set(uint32_t feature_id, const char* appName, uint32_t cfg_prio) {
    umsg_cfg_sync_t body;
    if (!start_cfg_sync(&body, appName))
        return nullptr;
    body.appid = feature_id;
    body.cfg_prio = cfg_prio;
    return request(UMSG_CFG_APP_SYNC_PRIO, body);
}

int mono_api_cfg_sync_prio_set(uint32_t feature_id, const char* appName, uint32_t cfg_prio) {
    return send(__func__, mono_msg_cfg_sync_prio_set(feature_id, appName, cfg_prio));
}

msg* mono_msg_cfg_recovery_notify_result(const char* appName, uint32_t slot_id, uint32_t cfg_prio,
                                         uint32_t retcode) {
    umsg_cfg_sync_t body;
    if (!start_cfg_sync(&body, appName))
        return nullptr;
    body.slotid = slot_id;
    body.cfg_prio = cfg_prio;
    body.retcode = retcode;
    return request(UMSG_CFG_APP_NOTIFY_RECOVER_RESULT, body);
}

int mono_api_cfg_recovery_notify_result(const char* appName, uint32_t slot_id, uint32_t cfg_prio,
                                        uint32_t retcode) {
    return send(__func__, mono_msg_cfg_recovery_notify_result(appName, slot_id, cfg_prio, retcode));
}

msg* mono_msg_mib_save_action(uint32_t action_seq, const char* mibTable) {
    if (!mibTable)
        return nullptr;
    umsg_snmp_save_req_t body = {};
    body.sequence = action_seq;
    std::memcpy(body.tablename, mibTable, strnlen(mibTable, MAX_TABLE_NAME));
    return request(UMSG_SNMP_MIB_TABLE_SAVE, body);
}

int mono_api_mib_save_action(uint32_t action_seq, const char* mibTable) {
    return send(__func__, mono_msg_mib_save_action(action_seq, mibTable));
}
