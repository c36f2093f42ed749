// PON ports: sPonTable, one row for every PON port of the chassis. Rows are made by the controller's
// interface events and hold what the operator set; three columns are read from the card each time.
//
// A change of the row goes to the card as message OV_HAL_MSG_GPON_PORT, but for the columns that are the
// daemon's own: admin state, recording switches and the service profiles of learnt ONUs. On the working port
// of a protection group it goes to the partner too. Main loop; functions that reach a card wait for it.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_types.h"
#include "sPonTable.h"

extern int gpon_port_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_port_init();

// 0, or OV_GPON_RET_BAD_PARAM for a null argument or a refused access, behind a log line.
// Makes the row of a PON port; `attr` holds the index, `flag` the columns that the caller set.
int ov_app_gpon_port_add(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag);
// Writes the columns of `flag` to an existing row.
int ov_app_gpon_port_edit(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_port_del(ov_sPonTable_attr_t* attr);

// May the row become so? Fills interface index and scheduling profile. `action` is an
// OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_app_gpon_port_check(ov_sPonTable_attr_t* attr, int action, MIB_Flags_t flag);
// Do the service profiles of the auto-flow columns exist? 1 passes.
char ov_app_gpon_autoflow_onu_srvprofile_check(ov_sPonTable_attr_t* attr, MIB_Flags_t flag);
// How its columns reach the card.
extern const MessageMap<ov_sPonTable_attr_t, ov_gpon_port_attr_t> pon_port_map;
// The row as the card's record, and the mask of the columns 4 to 30 of `mib_mask`.
void sport_mib_data_convert_to_hal(ov_sPonTable_attr_t* mib, ov_gpon_port_attr_t* hal,
                                   const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
// Which attributes a replay's set brings for a row of the table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h).
ov_bmp_t ov_pon_port_table_attr_mask_get(const void* row);
int ov_port_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_port_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_port_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);

// The stage of the search for a rogue ONU (sPonTableRogueOnuDetectState) as the show command prints it: its
// label (" STAGE1 " and so on, "UNKNOWN ERROR" outside 0 to 8), and the text behind it, null for a stage that
// prints no line. Static.
const char* ov_app_gpon_rogue_stage_label(int32_t stage);
const char* ov_app_gpon_rogue_stage_text(int32_t stage);
