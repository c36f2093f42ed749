// Functions of application modules that aren't there yet, with the signatures they will have. Each moves
// to its module's own header when that is written; until then it answers as it would when the access it
// needs is refused.
#pragma once

#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "ov_types.h"
#include "sPonTable.h"
#include "uplinkPmActTable.h"

// ---- PON ports: 0, or OV_GPON_RET_BAD_PARAM for a null argument or a refused access ---------------

// Makes the row of a PON port; `attr` holds the index, `flag` the columns that the caller set.
int ov_app_gpon_port_add(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag);
// Writes the columns of `flag` to an existing row.
int ov_app_gpon_port_edit(ov_sPonTable_attr_t* attr, MIB_Flags_t* flag);
// Takes every ONU of a port that was shut down out of service, and deletes its unconfigured ONUs.
void ov_app_gpon_pon_shutdown_deactive_onu(ov_ifindex_t ifIndex);

// ---- performance records of uplink ports: as above ------------------------------------------------

int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* attr);

// ---- QoS of a port ---------------------------------------------------------------------------------

// Which copies of a QoS object a call is about.
enum ov_sync_flag_t : uint32_t { SYNC_MIB = 1, SYNC_HAL = 2, SYNC_APP = 4 };
inline constexpr uint32_t SYNC_EVERY_COPY = SYNC_MIB | SYNC_HAL | SYNC_APP;

struct ov_app_port_qos_s {
    ov_ifindex_t ifindex;
};

// A new object with defaults, the caller's until ov_app_port_qos_add has taken it; null without memory.
ov_app_port_qos_s* ov_app_port_qos_new();
void ov_app_port_qos_destroy(ov_app_port_qos_s*);
int ov_app_port_qos_edit_ifindex(ov_app_port_qos_s*, ov_ifindex_t ifindex);
// Adds the object to the copies of `flag` and takes it over; on any other answer than 0 it stays the
// caller's.
int ov_app_port_qos_add(ov_app_port_qos_s*, uint32_t flag);

// ---- events from the cards: the record is valid for the call only -----------------------------------

// An unconfigured ONU has come or gone. 0, or why its row wasn't changed.
int ov_app_gpon_unconfig_onu_add_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr);
int ov_app_gpon_unconfig_onu_del_by_lowlayer(ov_gpon_uncfg_onu_attr_t* attr);
// The card has taken an ONU in by itself. 0, or why it wasn't added.
int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* attr);
// An alarm was raised or cleared. Always 0.
int ov_app_gpon_wn_trap_set_by_lowlayer(ov_gpon_wanning_trap_t* attr);
// An ONU changed its state: the ONU's row, then its history.
void ov_app_gpon_onu_state_update(ov_gpon_trap_onu_state_attr_t* state);
void ov_app_gpon_onu_state_historytable_update(ov_gpon_trap_onu_state_attr_t* state);
// A protection pair switched over.
void ov_app_gpon_pon_protect_status_switch_set(ov_gpon_pon_protect_group_attr_t* attr);
