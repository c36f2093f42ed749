// T-CONTs of ONUs (ITU-T G.984.3) and of service profiles: sTcontTable.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sTcontTable.h"

extern int gpon_tcont_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_tcont_init();

// 0, or OV_GPON_RET_BAD_PARAM behind a log line. With `is_need_check` 0 the check callbacks are passed over.
// An edit to a bandwidth profile that doesn't exist changes nothing and answers 0.
int ov_app_gpon_tcont_add(ov_sTcontTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check);
int ov_app_gpon_tcont_edit(ov_sTcontTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_tcont_del(ov_sTcontTable_attr_t* attr);

// 1 when the row is there, else 0.
char ov_app_gpon_tcont_exist_check(ov_sTcontTable_attr_t* attr);
// May the row become so? Reserves and releases. `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_app_gpon_tcont_check(ov_sTcontTable_attr_t* attr, int action, MIB_Flags_t flag);
// Do the T-CONTs of a service profile fit one PON port? 1 passes.
char ov_app_gpon_multi_srvprofile_check_DBA(ov_sTcontTable_attr_t* attr);
// 1 when the service profile of a template row exists, else 0 behind a log line.
char ov_tcont_multi_srvprofile_exist_check(ov_sTcontTable_attr_t* attr);
// Deletes all T-CONTs of an ONU or a service profile, each through its callbacks. 1, or 0 at the first that
// can't be deleted.
int ov_tcont_table_iterate_del(ov_sOnuTable_attr_t* ponu_attr);

// How its columns reach the card.
extern const MessageMap<ov_sTcontTable_attr_t, ov_gpon_tcont_attr_t> tcont_map;
void stcont_mib_data_convert_to_hal(ov_sTcontTable_attr_t* mib, ov_gpon_tcont_attr_t* hal,
                                    const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
int ov_tcont_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_tcont_table_onu_del_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_tcont_table_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
