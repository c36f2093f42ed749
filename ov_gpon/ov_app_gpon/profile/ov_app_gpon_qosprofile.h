// Queue schedulers of PON ports: sQosProfileTable, profiles by name whose id is the name's hash. They are the
// daemon's alone: cards get them inside the port's record.
#pragma once

#include "mmg_access.h"
#include "sQosProfileTable.h"

extern int gpon_qosprofile_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_qosprofile_init();

// The id of a name; 1 when there is such a profile, else 0.
char ov_app_gpon_qosprofile_getId(const char* qosProfileName, mib_ulong* qosPorfileId);
// 0 or OV_GPON_RET_BAD_PARAM behind a log line. Edit does nothing and answers 0.
int ov_app_gpon_qosprofile_add(ov_sQosProfileTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_qosprofile_edit(ov_sQosProfileTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_qosprofile_del(ov_sQosProfileTable_attr_t* attr);

// May the row become so? `mode` is a ROW_MODE, not an action. 1 passes.
char ov_app_gpon_qosprofile_check(ov_sQosProfileTable_attr_t* attr, int mode, MIB_Flags_t flags);
int ov_qosprofile_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
