// Actions, which aren't there yet.
#include "ov_app_gpon_action.h"

void ov_app_gpon_action_init() {
    // TODO: callbacks of sActionTable
}
