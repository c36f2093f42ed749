#include "gpon_zebra.h"

#include "ov_app_gpon_config_restore.h"
#include "ov_app_gpon_port_event.h"

int gpon_new_if(umsg_if_t* msg) {
    ov_app_gpon_port_appeared(*msg);
    return 0;
}

int gpon_del_if(umsg_if_t* msg) {
    ov_app_gpon_port_gone(*msg);
    return 0;
}

int gpon_admin_if(umsg_if_t* msg) {
    ov_app_gpon_port_admin_changed(*msg, __func__, ov_app_gpon_pon_shutdown_deactive_onu);
    return 0;
}

int gpon_status_if(umsg_if_t* msg) {
    ov_app_gpon_port_status_changed(*msg, __func__);
    return 0;
}

int gpon_del_vlan(umsg_vlan_t* /*msg*/) {
    return 0;
}

int gpon_http_parse(struct msg* /*msg*/) {
    return 0;
}
