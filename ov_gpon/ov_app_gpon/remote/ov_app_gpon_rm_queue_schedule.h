// Scheduling of the priority queues of an ONU (sRmOnuQosPriorityQueueScheduleTable).
#pragma once

#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "sRmOnuQosPriorityQueueScheduleTable.h"

// Start-up, in its place of the list.
void ov_app_gpon_rm_queue_schedule_init();

// Which attributes a replay's set brings for a row of the table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h).
ov_bmp_t ov_rm_queue_schedule_attr_mask_get(const void* row);

// Doors of the commands: 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_queue_schedule_edit(ov_sRmOnuQosPriorityQueueScheduleTable_attr_t* attr,
                                       MIB_Flags_t* flag);
