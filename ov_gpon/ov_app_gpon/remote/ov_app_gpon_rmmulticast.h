// Multicast at the UNIs of an ONU (sRmMulticastTable; ITU-T G.988 multicast operations profile): a row for
// each UNI whose multicast is switched on (sRmUniStatusTableMcastEnable).
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuTable.h"
#include "sRmMulticastTable.h"

extern int gpon_rmmulticast_appid;
extern const MessageMap<ov_sRmMulticastTable_attr_t, ov_gpon_rmuni_mcast_attr_t> rmmulticast_map;
extern const RestoreTable ov_app_gpon_config_restore_rm_mcast;

// Start-up, in its place of the list.
void ov_app_gpon_rmmulticast_init();

// Door of the commands: writes these columns of a UNI's row. 0, or OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_rmmulticast_edit(ov_sRmMulticastTable_attr_t* attr, MIB_Flags_t* flag);

// Adds the rows of UNIs of one kind, ports 1 to `ports` on each of cards 1 to `cards`, and removes all rows
// of an ONU. 1, or 0 at the first that fails.
char ov_multicast_table_iterate_add(const ov_sOnuTable_attr_t* onu, int port_type, mib_long ports,
                                    mib_long cards);
char ov_multicast_table_iterate_del(const ov_sOnuTable_attr_t* onu);

// The attributes that a card's replay sets for a row: its columns that aren't at their default.
ov_bmp_t ov_rmuni_mcast_table_attr_mask_get(const void* row);

// ---- callbacks --------------------------------------------------------------------------------------------

int ov_multicast_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_multicast_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
// On sRmUniStatusTable: a row comes and goes with sRmUniStatusTableMcastEnable of its UNI.
int ov_multicast_unistatustable_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
