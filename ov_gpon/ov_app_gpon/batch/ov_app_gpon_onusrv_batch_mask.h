// Which columns of a template row mean something to an ONU that gets a copy of it: the columns that somebody
// has set, for the tables whose rows are there already and for those whose checks ask what a column's bit
// says. Of all other tables the whole row is copied.
//
// Main loop only.
#pragma once

#include "mmg_access.h"
#include "sRmOnuPoeTable.h"
#include "sRmUniPoeTable.h"
#include "sRmUniVlanTable.h"
#include "sTcontTable.h"
#include "servicePortTable.h"

// The names of T-CONT and bandwidth profile, where there is one.
MIB_Flags_t ov_gpon_tcont_mibmask_get(const ov_sTcontTable_attr_t& row);
// The GEM port and the VLAN action; VLANs and priorities but 0, the actions on priorities but "copy". Limits
// of addresses, queue and COS mapping aren't copied.
MIB_Flags_t ov_gpon_service_port_mibmask_get(const ov_servicePortTable_attr_t& row);

// The settings that aren't at their default.
MIB_Flags_t ov_gpon_rmuni_vlan_mibmask_get(const ov_sRmUniVlanTable_attr_t& row);
MIB_Flags_t ov_gpon_onupoe_mibmask_get(const ov_sRmOnuPoeTable_attr_t& row);
MIB_Flags_t ov_gpon_unipoe_mibmask_get(const ov_sRmUniPoeTable_attr_t& row);
