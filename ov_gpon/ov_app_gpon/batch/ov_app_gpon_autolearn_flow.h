// ONUs that a card has learnt by itself, and the services that they get from the service profiles of their
// port.
#pragma once

#include "ov_hal_gpon_records.h"

// The card has taken an ONU in by itself. 0, or why it wasn't added. The record is valid for the call only.
int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* attr);
