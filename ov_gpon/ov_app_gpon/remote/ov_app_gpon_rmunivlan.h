// VLANs of the UNIs of an ONU (sRmUniVlanTable): mode, PVID and priority, lists of ids and of what they
// become. The rows come with an ONU, or with a service profile, as many as its ONU type has ports, and go
// with it.
//
// A list is 32 octets: 12 VLAN ids of 16 bits, high byte first, and 8 octets that nobody looks at.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmUniVlanTable.h"

extern int gpon_univlan_appid;
extern const MessageMap<ov_sRmUniVlanTable_attr_t, ov_gpon_rmuni_vlan_attr_t> univlan_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_uni_vlan;
extern const RestoreTable ov_app_gpon_config_restore_onusrvprofile_rmunivlan;

inline constexpr int OV_GPON_RMUNI_VLAN_LIST_MAX = 12; // ids in a list

// Start-up, in its place of the list.
void ov_app_gpon_rmunivlan_init();

// ---- doors ------------------------------------------------------------------------------------------------
// 0, or OV_GPON_RET_BAD_PARAM behind a log line.

// Makes a row with these columns, which no card hears of.
int ov_app_gpon_rmunivlan_add(ov_sRmUniVlanTable_attr_t* attr, MIB_Flags_t* flag);
// Writes these columns of a UNI's row. With another mode, what that mode doesn't use is cleared.
int ov_app_gpon_rmunivlan_edit(ov_sRmUniVlanTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rmunivlan_del(ov_sRmUniVlanTable_attr_t* attr);

// Takes the rows of an ONU back to mode "discard" without VLANs, in the table alone: what becomes of them
// when the services of the ONU are taken away. 1, or 0 behind a log line when a row couldn't be written.
char ov_rmunivlan_table_del_init(const ov_sOnuTable_attr_t* onu);

// ---- what a mode uses -------------------------------------------------------------------------------------

// Clears what the row's mode doesn't use: PVID and priority, the list of ids, the list of what they become.
void ov_univlan_table_vlanmode_change_clear(ov_sRmUniVlanTable_attr_t* row);
// Clears all of them, in modes 2 to 6: what is left of a change of the mode that failed.
void ov_univlan_table_vlanmode_rollback(ov_sRmUniVlanTable_attr_t* row);

// ---- checks -----------------------------------------------------------------------------------------------
// 1 passes; 0 behind a log line.

// May a row of this ONU become so? `action` is an OV_HAL_GPON_MSG_ACTION_*.
char ov_app_gpon_rm_univlan_check(ov_sRmUniVlanTable_attr_t* attr, int action, MIB_Flags_t flags);
// Of a template row: there is such a service profile; its PVID isn't in its list of ids, in mode 4.
char ov_univlan_multi_srvprofile_exist_check(ov_sRmUniVlanTable_attr_t* attr);
char ov_univlan_multi_srvprofile_parameter_check(ov_sRmUniVlanTable_attr_t* attr);

// ---- to the card ------------------------------------------------------------------------------------------

// The record of a row, and the attributes of these columns.
void sunivlan_mib_data_convert_to_hal(ov_sRmUniVlanTable_attr_t* mib, ov_gpon_rmuni_vlan_attr_t* hal,
                                      const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
// The attributes that a card's replay sets for a row: its columns that aren't at their default.
ov_bmp_t ov_rmuni_vlan_table_attr_mask_get(const void* row);

// ---- callbacks -------------------------------------------------------------------------------------------

int ov_univlan_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_univlan_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_univlan_onutable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_univlan_onu_srvprofile_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
