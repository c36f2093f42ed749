// What follows events from the cards, in application modules that aren't there yet. Each function moves to
// its module's own header when that is written; until then it answers as it would without a row to change.
// The records are valid for the call only.
#pragma once

#include "ov_hal_gpon_records.h"

// An unconfigured ONU has come or gone. 0, or why its row wasn't changed.
int ov_app_gpon_unconfig_onu_add_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr);
int ov_app_gpon_unconfig_onu_del_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr);
// The card has taken an ONU in by itself. 0, or why it wasn't added.
int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* attr);
// An alarm was raised or cleared. Always 0.
int ov_app_gpon_wn_trap_set_by_lowlayer(ov_gpon_wanning_trap_t* attr);
// An ONU changed its state: the ONU's row, then its history.
void ov_app_gpon_onu_state_update(ov_gpon_trap_onu_state_attr_t* state);
void ov_app_gpon_onu_state_historytable_update(ov_gpon_trap_onu_state_attr_t* state);
// A protection pair switched over.
void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* attr);
