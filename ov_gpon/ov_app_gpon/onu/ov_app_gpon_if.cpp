#include "ov_app_gpon_if.h"

#include <cstring>

#include "ov_ifindex.h"
#include "uclient.h"

namespace {

constexpr unsigned NO_SEQUENCE = 0;
constexpr size_t ONU_SN_BYTES = 8;

template <typename Body>
int notify(UMSG_TYPE type, const Body& body) {
    return uclient_send_request(uclient, msg_new(type, &body, NO_SEQUENCE, sizeof(body)), nullptr);
}

umsg_if_t interface_body(ov_ifindex_t ifindex, const char* onu_sn) {
    umsg_if_t body = {};
    body.ifindex = ifindex;
    ov_gen_ifname_by_ifindex(ifindex, body.name, sizeof(body.name));
    if (onu_sn)
        std::memcpy(body.onu_sn, onu_sn, strnlen(onu_sn, sizeof(body.onu_sn) - 1));
    return body;
}

int notify_group(UMSG_TYPE type, ov_ifindex_t work, ov_ifindex_t protect) {
    return notify(type, umsg_protect_group_t{.work_ifindex = work, .protect_ifindex = protect, .type = 0});
}

} // namespace

int ov_app_gpon_new_if(ov_ifindex_t ifindex, const char* onu_sn) {
    const umsg_if_t body = interface_body(ifindex, onu_sn);
    const int result = notify(UMSG_NEW_IF, body);
    uclient_new_if(&body);
    return result;
}

int ov_app_gpon_del_if(ov_ifindex_t ifindex) {
    switch (ov_ifindex_get_port_type(ifindex)) {
    case PORT_TYPE_GONU:
    case PORT_TYPE_GPON:
    case PORT_TYPE_XE:
        break;
    default:
        return OV_GPON_RET_BAD_PARAM;
    }
    const int result = notify(UMSG_DEL_IF, interface_body(ifindex, nullptr));
    uclient_del_if(ifindex);
    return result;
}

int ov_app_gpon_new_ppgroup_if(ov_ifindex_t workPon, ov_ifindex_t protectPon) {
    return notify_group(UMSG_PROTECT_GROUP_ADD, workPon, protectPon);
}

int ov_app_gpon_del_ppgroup_if(ov_ifindex_t workPon, ov_ifindex_t protectPon) {
    return notify_group(UMSG_PROTECT_GROUP_DEL, workPon, protectPon);
}

int ov_gpon_onu_status_notify(ov_ifindex_t onuIfindex, int status, const unsigned char* sn) {
    umsg_onu_op_t body = {};
    body.ifindex = onuIfindex;
    body.status = status;
    if (sn)
        std::memcpy(body.onu_sn, sn, ONU_SN_BYTES); // the ninth byte stays 0
    return notify(UMSG_ONU_STATUS_NOTIFY, body);
}
