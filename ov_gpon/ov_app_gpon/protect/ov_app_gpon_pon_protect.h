// Protection groups of PON ports (portProtectTable; ITU-T G.984.1 type B).
#pragma once

#include "ov_hal_gpon_records.h"

// Start-up, in its place of the list.
void ov_app_gpon_pon_protect_init();

// A card reports that a group switched over. The record is valid for the call only.
void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* attr);
