// Learnt ONUs, which aren't there yet.
#include "ov_app_gpon_autolearn_flow.h"
#include "ov_types.h"

int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* /*attr*/) {
    // TODO: the learnt ONU's row with its profile; learning isn't there yet.
    return OV_GPON_RET_FAIL;
}
