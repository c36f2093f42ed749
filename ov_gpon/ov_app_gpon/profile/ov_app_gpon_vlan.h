// Multicast VLANs of the shelf: sMcastVlanTable.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "sMcastVlanTable.h"

extern int gpon_mcast_vlan_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_mcast_vlan_init();

// How its columns reach the card.
extern const MessageMap<ov_sMcastVlanTable_attr_t, ov_gpon_mcast_vlan_attr_t> mcast_vlan_map;
// The row as the cards' record: number, VLAN, group address and the port to the router. The group's IP
// address and the list of ONUs are the table's alone.
void smcastvlan_mib_data_convert_to_hal(ov_sMcastVlanTable_attr_t* mib, ov_gpon_mcast_vlan_attr_t* hal,
                                        const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
int ov_mcast_vlan_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
