// Which attributes a replay's set brings for a row of a table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h). `row` is a row of the
// table.
#pragma once

#include "ov_hal_gpon_msg.h"

ov_bmp_t ov_pon_port_table_attr_mask_get(const void* row);
ov_bmp_t ov_onu_table_attr_mask_get(const void* row);
ov_bmp_t ov_gemport_table_attr_mask_get(const void* row);
ov_bmp_t ov_serviceport_table_attr_mask_get(const void* row);
ov_bmp_t ov_onu_qos_table_attr_mask_get(const void* row);
ov_bmp_t ov_rm_queue_schedule_attr_mask_get(const void* row);
