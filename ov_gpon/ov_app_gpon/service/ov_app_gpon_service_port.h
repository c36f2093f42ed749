// Service ports: servicePortTable joins a GEM port to VLAN handling on the card (IEEE 802.1Q tags matched,
// kept, translated or added) and to a queue.
#pragma once

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "sOnuTable.h"
#include "servicePortTable.h"

extern int gpon_service_port_appid;

// Registers the callbacks. Start-up, in its place of the list.
void ov_app_gpon_service_port_init();

// 0 or OV_GPON_RET_BAD_PARAM; they log nothing themselves.
int ov_app_gpon_service_port_add(ov_servicePortTable_attr_t* row, MIB_Flags_t column_flag);
int ov_app_gpon_service_port_edit(ov_servicePortTable_attr_t* row, MIB_Flags_t column_flag);
int ov_app_gpon_service_port_del(ov_servicePortTable_attr_t* row);

// 1 when the row is there, else 0.
char ov_app_gpon_srvport_exist_check(ov_servicePortTable_attr_t* row);
// 1 when the service profile exists and no ONU is bound to it, else 0 behind a log line.
int ov_app_srv_profile_service_port_check(mib_ulong onuProfileId);
// Are the values in range? `mode` is a ROW_MODE. 1 passes.
char ov_service_port_table_mib_data_check(ov_servicePortTable_attr_t* row, int mode);
// May the row become so? Reserves and releases. `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_service_port_check(ov_servicePortTable_attr_t* row, int action, MIB_Flags_t flag);
// Deletes all service ports of an ONU or a service profile, each through its callbacks.
void ov_service_port_table_iterate_del(ov_sOnuTable_attr_t* onu);

// The card's values of the VLAN and priority actions; 0 for any other.
ov_vlan_action_e ov_vlan_action_convert2hal(int32_t action);
ov_vlan_prio_action_e ov_prio_action_convert2hal(int32_t action);
// How its columns reach the card.
extern const MessageMap<ov_servicePortTable_attr_t, ov_gpon_service_port_attr_t> service_port_map;
// The row as the card's record. The mask has bits for MAC move, MAC limit and the queue only: a change of the
// VLAN columns sets none.
void ov_service_port_table_mib_convert2_hal(ov_servicePortTable_attr_t* mib, ov_gpon_service_port_attr_t* hal,
                                            const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
// Which attributes a replay's set brings for a row of the table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h).
ov_bmp_t ov_serviceport_table_attr_mask_get(const void* row);

int ov_service_port_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_service_port_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_service_port_table_on_onu_table_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_service_port_table_multi_srvprofile_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
