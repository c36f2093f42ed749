// IP hosts of an ONU (sRmIPHostTable).
#pragma once

#include "mmg_access.h"
#include "sRmIPHostTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rm_iphost_init();

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_iphost_add(ov_sRmIPHostTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_iphost_edit(ov_sRmIPHostTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_iphost_del(ov_sRmIPHostTable_attr_t* attr);
// Fills the addresses that the ONU has in use. The result of the card's answer.
int ov_app_gpon_iphost_hal_get(ov_sRmIPHostTable_attr_t* row);
