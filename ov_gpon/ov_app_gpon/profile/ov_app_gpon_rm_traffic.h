// Traffic profiles (ITU-T G.988 traffic descriptor): sRmTrafficProfileTable, rates and bursts by name; the id
// is the name's hash. GEM ports name them for either direction.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "sRmTrafficProfileTable.h"

extern int gpon_rm_traffic_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_rm_traffic_init();

// The id of a name; 1 when there is such a profile, else 0.
char ov_app_gpon_rm_traffic_getId(const char* name, mib_ulong* id);
// 0 or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rm_traffic_add(ov_sRmTrafficProfileTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_traffic_del(ov_sRmTrafficProfileTable_attr_t* attr);
// The profile "default", made at start. 0 or OV_GPON_RET_BAD_PARAM.
int ov_app_gpon_rm_traffic_add_default();

// May the row become so? `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_app_gpon_rm_traffic_check(ov_sRmTrafficProfileTable_attr_t* row, int action, MIB_Flags_t flag);
// How its columns reach the card.
extern const MessageMap<ov_sRmTrafficProfileTable_attr_t, ov_gpon_trfprofile_attr_t> rm_traffic_map;
// The row as the cards' record. It has no attributes: the whole record counts, and the mask is 0.
void srmtraffic_mib_data_convert_to_hal(ov_sRmTrafficProfileTable_attr_t* mib, ov_gpon_trfprofile_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
int ov_rm_traffic_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
