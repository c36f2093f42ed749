// Contracts of dynamic bandwidth assignment (ITU-T G.984.3): sBWProfileTable, profiles by name whose id is
// the name's hash. T-CONTs and the management channel of ONUs name them.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "sBWProfileTable.h"

extern int gpon_bwtype_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_bwtype_init();

// The id of a name; 1 when there is such a profile, else 0. Columns that hold the id are signed in some
// tables: compare as unsigned.
char ov_app_gpon_bwtype_getId(const char* bwtypeName, mib_ulong* bwtypeId);
// Fixed plus assured bandwidth, and the fixed alone: what T-CONTs are counted by. 1 when there is such a
// profile, else 0.
char ov_app_gpon_bwtype_assAndFix_get(const char* bwtypeName, int* assAndFix, int* fixed);
// 0, or behind a log line: OV_GPON_RET_BAD_PARAM, OV_GPON_RET_EXISTED (the name stands under another id),
// OV_GPON_RET_NO_RESOURCE (256 profiles). Edit does nothing and answers 0.
int ov_app_gpon_bwtype_add(ov_sBWProfileTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_bwtype_edit(ov_sBWProfileTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_bwtype_del(ov_sBWProfileTable_attr_t* attr);
// The profile "default", made at start. 0 or OV_GPON_RET_BAD_PARAM.
int ov_app_gpon_bwtype_add_default();

// May the row become so? `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_app_gpon_bwtype_check(ov_sBWProfileTable_attr_t* attr, int action, MIB_Flags_t flags);
// How its columns reach the card.
extern const MessageMap<ov_sBWProfileTable_attr_t, ov_gpon_bwprofile_attr_t> bwtype_map;
void sbwtype_mib_data_convert_to_hal(ov_sBWProfileTable_attr_t* mib, ov_gpon_bwprofile_attr_t* hal,
                                     const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
int ov_bwtype_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
