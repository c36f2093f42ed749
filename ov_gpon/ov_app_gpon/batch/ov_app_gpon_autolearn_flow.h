// ONUs that provision themselves: the card of a port that learns reports an ONU that nobody has provisioned,
// with a free number for it, and the daemon makes its row at once, with the service profile that the port's
// settings choose (app_learn_rule.h). By the port, the ONU is bound to the profile or gets its rows as its
// own.
//
// What is refused isn't tried again here: the card reports such an ONU again after a while, or doesn't. Who
// was learnt, and why one was not, stands in ov_app_gpon_onu_learnt.h.
//
// Main loop only; all of it waits for the card.
#pragma once

#include "ov_hal_gpon_records.h"
#include "ov_ifindex.h"
#include "ov_types.h"

// A card has seen an ONU on a port that learns: makes its row, known by its serial number. The record is
// completed on the way: what it says of the ONU type isn't used, the brand's default type or that of the
// profile is. 0 when the ONU is provisioned, also when the copy of the profile failed at one of its rows.
// OV_GPON_RET_BAD_PARAM behind a log line when it is refused, without one on a port that protects another;
// OV_GPON_RET_FAIL when its port has no row.
int ov_app_gpon_autolearn_onu_add(ov_gpon_autolearn_onu_attr_t* attr);

// Gives a learnt ONU the rows of a service profile as its own, if its port has auto flow on. 0;
// OV_GPON_RET_FAIL behind a log line when the port has no row, or at the first row that is refused, with
// those before it left in place. `attr` is for the log.
int ov_app_gpon_onu_traffic_autolearn(ov_ifindex_t onu_ifindex, mib_long profileId,
                                      ov_gpon_autolearn_onu_attr_t* attr);

// ---- a fixed flow -----------------------------------------------------------------------------------------
// One service without any profile, step by step. Nothing calls these at present. 0 or OV_GPON_RET_FAIL.

int ov_app_gpon_tcont_autolearn_add(ov_ifindex_t onu_ifindex); // T-CONT 1, bandwidth "default"
int ov_app_gpon_gem_autolearn_add(ov_ifindex_t onu_ifindex);   // GEM port 1 in T-CONT 1
int ov_app_gpon_service_autolearn_add(
    ov_ifindex_t onu_ifindex); // service port 1 of it, all VLANs as they are
int ov_app_gpon_rm_service_autolearn_add(ov_ifindex_t onu_ifindex); // service 1 behind the ONU, transparent
int ov_app_gpon_uni_vlan_autolearn_set(ov_ifindex_t onu_ifindex);   // Ethernet UNIs 1 to 4 transparent
