// The ONUs of a PON port (ITU-T G.984.3): sOnuTable, one row per provisioned ONU, with what follows each row
// and what goes with it.
//
// Every change of a row goes through MibAccessHandle, whose callbacks check it, reserve for it, program the
// card and lead what depends on it. All functions run on the main loop; those that reach a card wait for it.
#pragma once

#include "app_index.h"
#include "app_message_map.h"
#include "app_rows.h"
#include "ov_hal_gpon_msg.h"
#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "ov_types.h"
#include "sOnuTable.h"

// ONU ids of a port are 1 to this (ITU-T G.984.3 leaves 0 to 253; the system uses 128).
inline constexpr int OV_GPON_ONU_ID_MAX = GPON_ONU_MAX;

// Application id of the module.
extern int gpon_onu_appid;

// Registers the callbacks of sOnuTable. Start-up, in its place of the list.
void ov_app_gpon_onu_init();

// Adds an ONU: index and columns of `attr` as `flag` says; interface index, type id, row status and, unless
// `flag` names it, the name "gpon-onu%d/%d:%d" are filled in. Both arguments are completed on the way. With
// `is_need_check` 0 the check callbacks are passed over (copies to a standby port). 0, or
// OV_GPON_RET_BAD_PARAM behind a log line.
int ov_app_gpon_onu_add(ov_sOnuTable_attr_t* attr, MIB_Flags_t* flag, int is_need_check);
// Changes columns of an ONU. 0; OV_GPON_RET_BAD_PARAM for a null argument or a refused access;
// for a change of the authentication: OV_ONU_AUTH_ILLEGAL for a serial number that isn't one,
// OV_GPON_RET_NOT_FOUND without a row, OV_GPON_RET_BUSY while the port learns ONUs.
int ov_app_gpon_onu_edit(ov_sOnuTable_attr_t* attr, MIB_Flags_t* flag);
// Removes an ONU and all that hangs off it. 0 or OV_GPON_RET_BAD_PARAM.
int ov_app_gpon_onu_del(ov_sOnuTable_attr_t* attr);

// Whether an ONU has the name that its place gives it, "gpon-onu%d/%d:%d"; and gives it that name.
bool ov_app_gpon_onu_is_named_by_place(const ov_sOnuTable_attr_t& onu);
void ov_app_gpon_onu_name_by_place(ov_sOnuTable_attr_t& onu);

// May the row become so? Resolves names into ids. `action` is an OV_HAL_GPON_MSG_ACTION_*. 1 passes.
char ov_app_gpon_onu_may_become(ov_sOnuTable_attr_t* onu, int action, MIB_Flags_t columns);
// Takes for a template ONU's create what its service profile brings along, or gives it back for its delete:
// all or none. 1 when that is done.
char ov_app_gpon_onu_reserve(ov_sOnuTable_attr_t* onu, int action);
// Both.
char ov_app_gpon_onu_check(ov_sOnuTable_attr_t* pmib_attr, int action, MIB_Flags_t column_flag);
// Only ONU makers that the brand admits may be created on it; a later change of the serial number is free.
// 1 passes.
char ov_app_gpon_onu_marevo_check(const ov_sOnuTable_attr_t* attr, int action);
// sPonTableAutoLearn of the ONU's port. 0, or OV_GPON_RET_BAD_PARAM without a row for the port.
int ov_app_gpon_port_autolearn_get(ov_sOnuTable_attr_t* onuAttr, int* autolearn);

// A card reports an ONU's state: it is stored, with what the report tells of credentials and version, past
// all callbacks; the controller hears of an ONU that went offline.
void ov_app_gpon_onu_state_update(ov_gpon_trap_onu_state_attr_t* state);

// Starts (isAdd 1) or stops the performance records of the GEM ports that a template ONU has from its service
// profile. 0, or OV_GPON_RET_FAIL at the first that can't be.
int ov_app_gpon_onu_gem_pm_is_enable(ov_sOnuTable_attr_t* attr, char isAdd);

// A template ONU has no T-CONTs, GEM ports and service ports of its own: those of its service profile count
// against its own port. Each check reserves for action create and releases for delete, which can fail (0,
// behind a log line, with nothing reserved); 1 passes, at once for an ONU that isn't a template one. Each
// ..._release_reserve takes the same back as far as it can, in the reverse order.
char ov_app_gpon_onu_templet_tcont_check(ov_sOnuTable_attr_t* attr, int action);
char ov_app_gpon_onu_templet_gemport_check(ov_sOnuTable_attr_t* attr, int action);
char ov_app_gpon_onu_templet_service_port_check(ov_sOnuTable_attr_t* attr, int action);
void ov_app_gpon_onu_templet_tcont_release_reserve(ov_sOnuTable_attr_t* attr, int action);
void ov_app_gpon_onu_templet_gemport_release_reserve(ov_sOnuTable_attr_t* attr, int action);
void ov_app_gpon_onu_templet_service_port_release_reserve(ov_sOnuTable_attr_t* attr, int action);

// How its columns reach the card.
extern const MessageMap<ov_sOnuTable_attr_t, ov_gpon_onu_attr_t> onu_map;
// The row as the card's record, and the mask of the columns 2 to 22 of `mib_mask`. Serial numbers that aren't
// legal leave `sn` zero.
void sonu_mib_data_convert_to_hal(ov_sOnuTable_attr_t* mib, ov_gpon_onu_attr_t* hal,
                                  const MIB_Flags_t& mib_mask, ov_bmp_t* hal_flag);
// Which attributes a replay's set brings for a row of the table: those whose columns differ from what the
// create has given the card, as the lines of the table's map say (app_message_map.h).
ov_bmp_t ov_onu_table_attr_mask_get(const void* row);
// The credentials that the row's authentication mode uses.
void sonu_mib_auth_attr_convert_to_hal(const ov_sOnuTable_attr_t* mib, ov_gpon_onu_auth_attr_t* hal);

// The callbacks, as registered.
int ov_onu_table_set_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
int ov_onu_table_set_check_callback(MIBDID did, void* row, MIB_Flags_t column_flag);
