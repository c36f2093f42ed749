// Profiles of what the optical readings of an ONU may be, and from where on the card warns or raises an alarm
// (sOnuRssiProfileTable): four thresholds for each of five quantities, as whole numbers of the cards' units.
// ONUs name them by number (sOnuTableRssiProfileId); profile 0 is that of every ONU that names none. A
// profile that an ONU has is frozen.
//
// Main loop only.
#pragma once

#include "app_message_map.h"
#include "app_restore_line.h"
#include "mmg_access.h"
#include "ov_hal_gpon_records.h"
#include "sOnuRssiProfileTable.h"

inline constexpr mib_long GPON_RSSI_PROFILE_DEFAULT = 0;

extern int gpon_onu_rssi_appid;
extern const MessageMap<ov_sOnuRssiProfileTable_attr_t, ov_gpon_onu_rssi_profile_t> onu_rssi_map;
extern const RestoreTable ov_app_gpon_config_restore_onu_rssi;

// Registers the callbacks and makes the default profile. Start-up, in its place of the list.
void ov_app_gpon_onu_rssi_init();

// Makes the profile, or changes it when it is there: the columns in `flags`; what a new one isn't given is at
// its default. 0, or OV_GPON_RET_FAIL behind a log line.
int ov_app_gpon_onu_rssi_add(ov_sOnuRssiProfileTable_attr_t* attr, MIB_Flags_t* flags);
// 0; OV_GPON_RET_NOT_FOUND without such a profile; OV_GPON_RET_FAIL behind a log line.
int ov_app_gpon_onu_rssi_del(ov_sOnuRssiProfileTable_attr_t* attr);
// Profile 0 with all defaults, unless it is there. No card is told: a card hears of it when it is restored.
void ov_app_gpon_onu_rssi_add_default();

// May the profile become so? `action` is an OV_HAL_GPON_MSG_ACTION_*. 1, or 0 behind a log line while an ONU
// has it and it would change or go.
char ov_onu_rssi_profile_check(mib_long profileId, int action);

int ov_onu_rssi_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
