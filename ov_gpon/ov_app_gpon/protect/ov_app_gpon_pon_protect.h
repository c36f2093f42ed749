// Protection groups of PON ports (portProtectTable; ITU-T G.984.1 type B): a working port carries the ONUs, a
// protecting one of the same card stands by with the same configuration. The card switches from one to the
// other by itself or when it is told to.
//
// A group's configuration is copied when it is made (ov_app_gpon_port_config.h) and kept equal from then on
// (ov_app_gpon_pair.h). A switch-over changes which port is in service, never which is the working one.
//
// Main loop only; what reaches the card waits for it.
#pragma once

#include <functional>

#include "app_message_map.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "portProtectTable.h"

extern int gpon_protect_appid;

// Registers the callbacks, enters the writers of the mirror, and gives the ports of the groups that stand in
// the table their roles: after a restart they are as they were. Start-up, in its place of the list.
void ov_app_gpon_pon_protect_init();

// ---- doors ------------------------------------------------------------------------------------------------
// 0, or OV_GPON_RET_BAD_PARAM.

// Makes a group and copies the configuration of the working port to the protecting one. `flag` must name the
// name and both ports.
int ov_app_gpon_protect_group_add(ov_portProtectTable_attr_t* attr, MIB_Flags_t* flag);
// The same with the copy in steps, between which the loop serves others (ov_app_gpon_pon_protect_copy.h).
// What doesn't fit is refused at once; otherwise the group is made behind the copy, and `done` gets the
// result, once, from a step and never from within this call (ov_app_gpon_port_config_go_on). A manager's
// group is copied in the same way, ahead of its CommitSet (table_snmp_ahead.h).
int ov_app_gpon_protect_group_add_start(const ov_portProtectTable_attr_t& attr, const MIB_Flags_t& flag,
                                        std::function<void(int)> done);
// Changes columns of a group. Whatever is written to ppExternalCommand, the group switches over.
int ov_app_gpon_protect_group_edit(ov_portProtectTable_attr_t* attr, MIB_Flags_t* flag);
// Ends a group. The protecting port keeps its configuration.
int ov_app_gpon_protect_group_del(ov_portProtectTable_attr_t* attr);
// The id of the group of that name. 1 when there is one.
int ov_app_gpon_protect_group_getId(const char* groupName, mib_long* groupId);

// A card reports that a group switched over. The record is valid for the call only; one that fits no group
// changes nothing.
void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* attr);

// ---- rules ------------------------------------------------------------------------------------------------

// May the group become so? `action` is an OV_HAL_GPON_MSG_ACTION_*: a create asks for two ports of one card
// without roles, the protecting one blank; a set of the switch command for one that changes the port in
// service. 1 passes.
int ov_app_gpon_protect_group_check(ov_portProtectTable_attr_t* attr, int action, MIB_Flags_t flag);
// The port in service; the working port for a group that no card has taken.
ov_ifindex_t ov_app_gpon_protect_group_active_port(const ov_portProtectTable_attr_t& group);
// The other one.
ov_ifindex_t ov_app_gpon_protect_group_standby_port(const ov_portProtectTable_attr_t& group);

// How its columns reach the card. The record's working port is the one in service.
extern const MessageMap<ov_portProtectTable_attr_t, ov_gpon_protect_group_attr_t> pon_protect_map;

int ov_pon_protect_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_pon_protect_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
