// GEM ports of ONUs (ITU-T G.984.3) and of service profiles: sGemTable.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "sGemTable.h"
#include "sOnuTable.h"

extern int gpon_gemport_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_gemport_init();

// 0, or OV_GPON_RET_BAD_PARAM behind a log line. With `is_need_check` 0 the check callbacks are passed over.
int ov_app_gpon_gemport_add(ov_sGemTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check);
// Of a template row all but the encryption is changed past the set callbacks: the profile may be bound.
int ov_app_gpon_gemport_edit(ov_sGemTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_gemport_del(ov_sGemTable_attr_t* attr);

// 1 when the row is there, else 0.
char ov_app_gpon_gemport_exist_check(ov_sGemTable_attr_t* attr);
// May the row become so? Reserves and releases. `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_app_gpon_gemport_check(ov_sGemTable_attr_t* attr, int action, MIB_Flags_t flag);
// The same for what a row of a service profile refers to and is referred to by.
char ov_app_gpon_gemport_multi_onu_srv_check(ov_sGemTable_attr_t* attr, int action);
// Deletes all GEM ports of an ONU or a service profile, each through its callbacks.
void ov_gemport_table_iterate_del(ov_sOnuTable_attr_t* onu);

// How its columns reach the card.
extern const MessageMap<ov_sGemTable_attr_t, ov_gpon_gemport_attr_t> gem_map;
void sgemport_mib_data_convert_to_hal(ov_sGemTable_attr_t* mib, ov_gpon_gemport_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
// Which attributes a replay's set brings for a row of the table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h).
ov_bmp_t ov_gemport_table_attr_mask_get(const void* row);
int ov_gemport_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_gemport_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_gemport_table_onu_del_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_gemport_table_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
