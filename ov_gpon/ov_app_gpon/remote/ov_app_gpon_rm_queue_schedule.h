// Scheduling of the priority queues of an ONU (sRmOnuQosPriorityQueueScheduleTable).
#pragma once

// Start-up, in its place of the list.
void ov_app_gpon_rm_queue_schedule_init();
