// Scheduling of the priority queues of an ONU (sRmOnuQosPriorityQueueScheduleTable). One row for each ONU,
// which comes and goes with it.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"

extern int gpon_rm_queue_schedule_appid;
extern const MessageMap<ov_sRmOnuQosPriorityQueueScheduleTable_attr_t, ov_gpon_onu_queue_schedule_attr_t>
    rm_queue_schedule_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_queue_schedule;

// Start-up, in its place of the list.
void ov_app_gpon_rm_queue_schedule_init();

// Door of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_queue_schedule_edit(ov_sRmOnuQosPriorityQueueScheduleTable_attr_t* attr,
                                       MIB_Flags_t* flag);

// The attributes that a card's replay sets for a row: mode and weights, once there is a mode.
ov_bmp_t ov_rm_queue_schedule_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_rm_queue_schedule_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_queue_schedule_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rm_queue_schedule_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
