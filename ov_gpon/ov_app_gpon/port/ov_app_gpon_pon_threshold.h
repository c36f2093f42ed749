// Optics of PON ports: the alarm thresholds that their modules hold (SFF-8472), and whether the card watches
// them (sPonThresholdTable). A row for each port, which comes and goes with it. The switch is set, the
// thresholds are read only, as whole numbers of the module's units.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sPonThresholdTable.h"

extern int gpon_threshold_appid;
// What is set and read: of the columns, only the switch ever goes to a card.
extern const MessageMap<ov_sPonThresholdTable_attr_t, ov_gpon_pon_optic_threshold_attr_t> pon_threshold_map;
extern const RestoreTable ov_app_gpon_config_restore_pon_threshold;

// Start-up, in its place of the list.
void ov_app_gpon_pon_threshold_init();

// Door of commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_pon_threshold_edit(ov_sPonThresholdTable_attr_t* attr, MIB_Flags_t* flag);

// The attributes of a row that differ from their value at creation, thresholds too.
ov_bmp_t ov_pon_ponthreshold_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_pon_threshold_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// Reads all ten thresholds from the card when the lower one of the transmit power is read. A disabled port
// answers with what is stored; one that is out of operation, or isn't there, refuses.
int ov_pon_threshold_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_pon_threshold_table_pontable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
