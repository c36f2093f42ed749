// ONUs that a card reports without there being a row for them: sOnuInitTable.
#pragma once

#include <cstdint>

#include "ov_hal_gpon_records.h"

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_unconfig_onu_init();

// A card reports an ONU that nobody has provisioned, reports it again, or takes its report back: the row is
// added, changed, deleted. Its key is the port and the card's temporary number. 0, or OV_GPON_RET_BAD_PARAM
// when the table refuses, which is logged. The record is valid for the call only. Main loop.
int ov_app_gpon_unconfig_onu_add_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr);
int ov_app_gpon_unconfig_onu_edit_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr); // nothing calls it
int ov_app_gpon_unconfig_onu_del_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr);

// Whether the row of such a report is there and says the same.
bool ov_app_gpon_unconfig_onu_is_listed(const ov_gpon_uncfg_onu_attr_t* attr);

// Deletes the rows of a slot, or of one PON port of it, each through its callbacks. Main loop.
void ov_onu_uncfg_table_iterate_del(int32_t slot);
void ov_onu_uncfg_table_iterate_del(int32_t slot, int32_t port);
