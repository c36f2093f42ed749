#include "ov_app_gpon_event_pending.h"

#include "ov_types.h"

int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* /*attr*/) {
    // TODO: the learnt ONU's row with its profile; learning isn't there yet.
    return OV_GPON_RET_FAIL;
}

void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* /*attr*/) {
    // TODO: the group's active port; without a group nothing is to be done.
}
