// Services in the older form: sServiceTable. servicePortTable has taken its place; the table takes rows, but
// nothing follows them, since ov_app_gpon_service_init isn't in the start-up list.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "sServiceTable.h"

// Older services would go to the card as service ports.
typedef ov_gpon_service_port_attr_t ov_gpon_servport_attr_t;

extern int gpon_service_appid;

// Registers the callbacks. Not called.
void ov_app_gpon_service_init();

// 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_service_add(ov_sServiceTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_service_edit(ov_sServiceTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_service_del(ov_sServiceTable_attr_t* attr);

// May the row become so? Counts as a service port of the card. `action` is an OV_HAL_GPON_MSG_ACTION_*. 1
// passes.
char ov_app_gpon_service_check(ov_sServiceTable_attr_t* attr, int action, MIB_Flags_t flag);
// How its columns reach the card.
extern const MessageMap<ov_sServiceTable_attr_t, ov_gpon_servport_attr_t> service_map;
void sservice_mib_data_convert_to_hal(ov_sServiceTable_attr_t* mib, ov_gpon_servport_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
int ov_service_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
