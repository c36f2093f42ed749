// QinQ, which isn't there yet: there are no rules to replay or to remove.
#include "ov_app_gpon_qinq.h"

void ov_app_gpon_qinq_init() {
    // TODO: the rules and the callbacks of smartQinqTable
}

// TODO: the replay and the removal of QinQ rules; there are none yet.
int ov_app_gpon_qinq_config_restore(int /*slot_id*/) {
    return OV_GPON_RET_OK;
}
int ov_app_gpon_port_qinq_del(ov_ifindex_t /*ifindex*/) {
    return OV_GPON_RET_OK;
}
