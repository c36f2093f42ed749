// Remote information: what an ONU reports of itself over OMCI, and the commands to it (sRmInfoTable). One row
// per ONU, which comes and goes with it.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "ovralist.h"
#include "sOnuTable.h"
#include "sRmInfoTable.h"

extern int gpon_rminfo_appid;
extern const MessageMap<ov_sRmInfoTable_attr_t, ov_gpon_rmonu_info_attr_t> rminfo_map;
extern const RestoreTable ov_app_gpon_config_restore_onu_info;

// Start-up, in its place of the list.
void ov_app_gpon_rminfo_init();

// ---- the door of the commands --------------------------------------------------------------------------

// Writes these columns of a row; of what commands write, sRmInfoTableReboot, sRmInfoTableMibSyn and
// sRmInfoTableRestoreDefault act in the ONU when they are 1, and read 0 again at once. 0, or
// OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rminfo_edit(ov_sRmInfoTable_attr_t* attr, MIB_Flags_t* flag);

// ---- ONUs by equipment id --------------------------------------------------------------------------------

// Lists the ONUs of this equipment id that are in operation and don't run `version` (their active version)
// yet: a row of sOnuUpdateTable for each port, in the table's order, with the bits of its ONUs in
// sOnuUpdateOnuMask. Equipment ids are those that ONUs had when they were last read. Gives the number of
// ONUs; the list, which has been initialised, owns its rows.
int ov_app_gpon_rminfo_get_onu_update_list(const char* version, const char* eqptID,
                                           ovralist_t* update_port_list);
// Takes all rows out of such a list.
void ov_app_gpon_rminfo_release_onu_update_list(ovralist_t* list);

// ---- with the ONU -----------------------------------------------------------------------------------------

// The row of an ONU: adds it when it isn't there, removes it when it is. 1, or 0 behind a log line.
char ov_rminfo_table_add(const ov_sOnuTable_attr_t* onu);
char ov_rminfo_table_del(const ov_sOnuTable_attr_t* onu);

// ---- callbacks -------------------------------------------------------------------------------------------

// 1 while the row's ONU is in operation and can be asked.
char ov_rminfo_check(const ov_sRmInfoTable_attr_t* row);
// What an ONU has answered as columns of the row.
void srminfo_hal_data_convert_to_mib(const ov_gpon_rmonu_info_attr_t* hal, ov_sRmInfoTable_attr_t* mib);
// Reads the ONU, while it is in operation.
int ov_rminfo_table_get_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// The three commands.
int ov_rminfo_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rminfo_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
