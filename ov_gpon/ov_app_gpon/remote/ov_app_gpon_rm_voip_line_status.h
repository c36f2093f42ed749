// State of the telephone lines of an ONU (sRmVoipLineStatusTable): one row for each of its POTS ports, which
// comes and goes with the ONU; to be read, never written.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmVoipLineStatusTable.h"

extern int gpon_rm_voip_line_status_appid;
extern const MessageMap<ov_sRmVoipLineStatusTable_attr_t, ov_rm_voip_line_status_attr_t>
    rm_voip_line_status_map;

// Start-up, in its place of the list.
void ov_app_gpon_rm_voip_line_status_init();

// Reads the ONU, while it is in operation.
int ov_rm_voip_line_status_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_app_gpon_rm_voip_line_status_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
