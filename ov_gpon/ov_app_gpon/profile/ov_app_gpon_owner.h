// Whom a row of T-CONTs, GEM ports or services belongs to: a provisioned ONU, or, at slot 31, a service
// profile whose id stands for the ONU. Such a row may only change while its owner admits it.
//
// Main loop only.
#pragma once

#include "app_get_callback.h"
#include "app_rows.h"
#include "sOnuSrvProfileTable.h"
#include "sOnuTable.h"

// May rows of this owner change? A service profile must exist and be bound to no ONU; an ONU must exist and
// not take its rows from a service profile. False behind a log line that says why.
bool ov_app_gpon_owner_check(const ov_sOnuTable_attr_t& owner);

template <typename Row>
bool ov_app_gpon_owner_admits(const Row& row) {
    return ov_app_gpon_owner_check(onu_key<ov_sOnuTable_attr_t>(row));
}

// The row of the ONU that `row` belongs to, null for none; valid until the ONU is deleted.
template <typename Row>
const ov_sOnuTable_attr_t* ov_app_gpon_onu_of(const Row& row) {
    return find_row(onu_key<ov_sOnuTable_attr_t>(row));
}

// Whether the row's ONU is in operation: what is read of any other is what the row has stored.
template <typename Row>
Asked ov_app_gpon_asked_of_onu(const Row& row) {
    const ov_sOnuTable_attr_t* onu = ov_app_gpon_onu_of(row);
    return onu != nullptr && onu->sOnuTableOnuState == SONUTABLEONUSTATE_OPERATIONAL ? Asked::YES : Asked::NO;
}

// The row of a service profile, null for none; valid until the profile is deleted.
const ov_sOnuSrvProfileTable_attr_t* ov_app_gpon_srvprofile_of(mib_long profile_id);

// The index under which the rows of a service profile stand: shelf 1, slot 31, port 15 and its id.
ov_sOnuTable_attr_t ov_app_gpon_template_owner(const ov_sOnuSrvProfileTable_attr_t& profile);
