// Functions of application modules that aren't there yet, with the signatures they will have. Each moves
// to its module's own header when that is written; until then it does nothing and says that all is well, or
// that what is looked for isn't there.
#pragma once

#include "mmg_access.h"
#include "ov_app_gpon_qos.h"
#include "ov_types.h"
#include "sGemTable.h"
#include "uplinkPmActTable.h"

// ---- performance records of uplink ports ------------------------------------------------

int ov_app_uplink_pm_action_add(ov_uplinkPmActTable_attr_t* attr, MIB_Flags_t* flag);
int ov_app_uplink_pm_action_del(ov_uplinkPmActTable_attr_t* attr);

// ---- performance records of GEM ports --------------------------------------------------------------

// Starts (isAdd 1) or stops the records of a GEM port that an ONU has from its service profile. 0 or
// OV_GPON_RET_FAIL.
int ov_app_gpon_pm_gem_edit(ov_sGemTable_attr_t* attr, MIB_Flags_t column_flag, char isAdd);

// ---- QinQ ------------------------------------------------------------------------------------------

// Replays the rules of a slot to its card. 0 or OV_GPON_RET_*.
int ov_app_gpon_qinq_config_restore(int slot_id);
// Removes all rules of a PON port. 0 or OV_GPON_RET_*.
int ov_app_gpon_port_qinq_del(ov_ifindex_t ifindex);
