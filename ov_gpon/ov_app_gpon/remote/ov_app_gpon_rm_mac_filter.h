// MAC filters of the services behind an ONU: each service has a mode (rmServiceMacFilterModeTable) and
// filters by a limit on the addresses that it learns (mode dynamic, rmServiceMacFilterDynamicTable) or by
// rules that were entered (mode static, rmServiceMacFilterStaticTable).
//
// A mode's row comes and goes with its service, a limit's row is there while the mode is dynamic, and rules
// go when the mode leaves static. Filters of a service profile stay in the tables: cards know none.
//
// Main loop only.
#pragma once

#include "app_key.h"
#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "rmServiceMacFilterDynamicTable.h"
#include "rmServiceMacFilterModeTable.h"
#include "rmServiceMacFilterStaticTable.h"
#include "sOnuTable.h"
#include "sRmServiceTable.h"

extern int gpon_rm_mac_filter_mode_appid;
extern int gpon_rm_mac_filter_dyn_appid;
extern int gpon_rm_mac_filter_static_appid;
extern const MessageMap<ov_rmServiceMacFilterModeTable_attr_t, ov_gpon_rm_macfilter_attr_t>
    mac_filter_mode_map;
extern const MessageMap<ov_rmServiceMacFilterDynamicTable_attr_t, ov_gpon_rm_macfilter_attr_t>
    mac_filter_dyn_map;
extern const MessageMap<ov_rmServiceMacFilterStaticTable_attr_t, ov_gpon_rm_macfilter_attr_t>
    mac_filter_static_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_macfilter_mode;
extern const RestoreTable ov_app_gpon_config_restore_rm_macfilter_static;
extern const RestoreTable ov_app_gpon_config_restore_rm_macfilter_dynamic;

inline constexpr size_t INDEX_TO_SERVICE = 5;   // leading index columns of these tables
inline constexpr int MAC_FILTER_RULE_MAX = 255; // ids of rules: a byte to the card

// The index, in another of these tables or in sRmServiceTable, of the service that a row belongs to.
template <typename Row, typename Of>
Row service_key(const Of& of) {
    auto key = onu_key<Row>(of);
    key.rmServiceID = of.rmServiceID;
    return key;
}
// Its number, which cards call a flow.
template <typename Row>
mib_ulong flow_of(const Row& row) {
    return row.rmServiceID;
}

// Start-up, in their places of the list.
void ov_app_gpon_rm_mac_filter_mode_init();
void ov_app_gpon_rm_mac_filter_dyn_init();
void ov_app_gpon_rm_mac_filter_static_init();

// ---- doors ------------------------------------------------------------------------------------------------
// 0, or OV_GPON_RET_BAD_PARAM behind a log line.

int ov_app_gpon_rm_mac_filter_mode_edit(ov_rmServiceMacFilterModeTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_dyn_edit(ov_rmServiceMacFilterDynamicTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_static_add(ov_rmServiceMacFilterStaticTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_static_edit(ov_rmServiceMacFilterStaticTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_gpon_rm_mac_filter_static_del(ov_rmServiceMacFilterStaticTable_attr_t* attr);

// Makes the mode's row of a service that has come. False behind a log line.
bool ov_app_gpon_rm_mac_filter_mode_add(const ov_sRmServiceTable_attr_t& service);
// The same for a service that had to stay when its filter had gone, in the tables alone.
void ov_app_gpon_rm_mac_filter_put_back(const ov_sRmServiceTable_attr_t& service);
// Makes or removes the limit's row, in the table alone, as the mode of that row wants it.
void ov_app_gpon_rm_mac_filter_dyn_put_back(const ov_rmServiceMacFilterModeTable_attr_t& mode);
// Removes what is left of an ONU's filters, in the tables alone.
void ov_app_gpon_rm_mac_filter_iterate_del(const ov_sOnuTable_attr_t& onu);

// Has another rule of the row's service the row's address? 1 has, 0 hasn't.
int ov_rm_macfilter_create_iterate_parser_check(const ov_rmServiceMacFilterStaticTable_attr_t* row);

// ---- to the card ------------------------------------------------------------------------------------------

// The attributes that a card's replay sets for a row: its columns that aren't at their default.
ov_bmp_t ov_rmservice_macfilter_mode_table_attr_mask_get(const void* row);
ov_bmp_t ov_rmservice_macfilter_dynamic_table_attr_mask_get(const void* row);

// ---- callbacks --------------------------------------------------------------------------------------------

int ov_mac_filter_mode_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_mac_filter_mode_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_mac_filter_dyn_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_mac_filter_dyn_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_mac_filter_static_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_mac_filter_static_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// On sRmServiceTable: the mode's row goes in front of its service.
int ov_mac_filter_mode_table_rmservice_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// On rmServiceMacFilterModeTable: what goes with the mode, in front of the mode's own message.
int ov_mac_filter_dyn_table_mode_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_mac_filter_static_table_mode_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
