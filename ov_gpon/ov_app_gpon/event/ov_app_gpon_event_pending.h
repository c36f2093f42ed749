// What follows events from the cards, in application modules that aren't there yet. Each function moves to
// its module's own header when that is written; until then it answers as it would without a row to change.
// The records are valid for the call only.
#pragma once

#include "ov_hal_gpon_records.h"

// The card has taken an ONU in by itself. 0, or why it wasn't added.
int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* attr);
// A protection pair switched over.
void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* attr);
