// Live optical readings of an ONU: sOnuExtendInfoTable, a row for each row of sOnuTable. Its readings are
// fetched from the card on each read.
#pragma once

#include "mmg_access.h"

extern int gpon_onu_extend_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_onu_extend_init();

int ov_onuextend_onu_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_onuextend_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
