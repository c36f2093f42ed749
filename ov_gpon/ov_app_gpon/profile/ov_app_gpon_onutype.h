// What an ONU model has: sOnuTypeProfileTable, profiles by name whose id is the name's hash.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTypeProfileTable.h"

extern int gpon_onutype_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_onutype_init();

// The id of a name; 1 when there is such a profile, else 0.
char ov_app_gpon_onutype_getId(const char* onutypeName, mib_ulong* onutypeId);
// 0, or OV_GPON_RET_BAD_PARAM behind a log line; removal of a type that a service profile names:
// OV_GPON_RET_EXISTED. A type can't be changed: edit does nothing and answers 0.
int ov_app_gpon_onutype_add(ov_sOnuTypeProfileTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_onutype_edit(ov_sOnuTypeProfileTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_onutype_del(ov_sOnuTypeProfileTable_attr_t* attr);
// The brand's default types, made at start. Always 0.
int ov_app_gpon_profile_onutype_add_default();

// May the row become so? `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_app_gpon_onutype_check(ov_sOnuTypeProfileTable_attr_t* attr, int action, MIB_Flags_t flags);
// How its columns reach the card.
extern const MessageMap<ov_sOnuTypeProfileTable_attr_t, ov_gpon_onutype_attr_t> onutype_map;
void sonutype_mib_data_convert_to_hal(ov_sOnuTypeProfileTable_attr_t* mib, ov_gpon_onutype_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
int ov_onutype_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
