// Services behind an ONU (sRmServiceTable): which traffic of the ONU, of one UNI or of all, goes into which
// of its GEM ports. A service profile has services too, which every ONU bound to it takes.
//
// All services of an ONU tell traffic apart in the same way (sRmServiceTableRmServiceType), and no two of
// them claim the same traffic. Their MAC filters come and go with them (ov_app_gpon_rm_mac_filter.h).
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmServiceTable.h"

extern int gpon_rmservice_appid;
extern const MessageMap<ov_sRmServiceTable_attr_t, ov_gpon_rmservice_attr_t> rmservice_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_service;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_rmservice;

// Start-up, in its place of the list.
void ov_app_gpon_rmservice_init();

// ---- doors ------------------------------------------------------------------------------------------------
// 0, or OV_GPON_RET_BAD_PARAM behind a log line.

// Makes a service of an ONU, or of a service profile, with these columns.
int ov_app_gpon_rmservice_add(ov_sRmServiceTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rmservice_edit(ov_sRmServiceTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rmservice_del(ov_sRmServiceTable_attr_t* attr);

// Removes the services of an ONU, or of the service profile in its place, and tells the card. 1, or 0 behind
// a log line at the first that has to stay.
char ov_rmservice_table_iterate_del(const ov_sOnuTable_attr_t* onu);
// Removes the other services of the row's ONU that take the same VLAN from UNIs of the same kind, in the
// table alone. One that has to stay leaves a log line.
void ov_rmservice_table_iterate_del_in_same_flow(const ov_sRmServiceTable_attr_t* row);

// ---- checks -----------------------------------------------------------------------------------------------

// May a service of this ONU, or profile, be written so? `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes; 0
// behind a log line.
char ov_app_gpon_rm_servcie_check(ov_sRmServiceTable_attr_t* attr, int action, MIB_Flags_t flags);
// Does the service, whose record this is, conflict with another of its ONU? 1 does, 0 doesn't.
int ov_rmservice_iterate_parser_check(const ov_sRmServiceTable_attr_t* row,
                                      const ov_gpon_rmservice_attr_t* record);
// Of a template row: the profile is there, and has its GEM port. 1 passes.
char ov_app_gpon_rmsrv_multi_srv_check(ov_sRmServiceTable_attr_t* attr);

// ---- to the card ------------------------------------------------------------------------------------------

// The record of a row, and the attributes of these columns.
void srmservice_mib_data_convert_to_hal(ov_sRmServiceTable_attr_t* mib, ov_gpon_rmservice_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);

// ---- callbacks --------------------------------------------------------------------------------------------

int ov_rmservice_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmservice_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmservice_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_rmservice_multi_srvprofile_del_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
